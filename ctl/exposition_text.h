#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace norvad::ctl {

// Metrics as Prometheus reads them: the text format, version 0.0.4. A family is begun once, and its samples follow.
class ExpositionText {
public:
    static constexpr std::string_view contentType = "text/plain; version=0.0.4; charset=utf-8";

    enum class Type { GAUGE, COUNTER };
    using Labels = std::vector<std::pair<std::string_view, std::string>>;

    void Begin(std::string_view family, Type type, std::string_view help);
    void Add(double value, const Labels& labels = {});

    // A family with a single sample.
    void Gauge(std::string_view name, std::string_view help, double value) {
        Begin(name, Type::GAUGE, help);
        Add(value);
    }

    const std::string& Text() const { return text; }

private:
    std::string family;
    std::string text;
};

}  // namespace norvad::ctl
