#include "ctl/exposition_text.h"

#include <fmt/format.h>

#include <cmath>

namespace norvad::ctl {

namespace {

// Quotation marks are escaped in a label's value, where they would end it, and not in a help text.
std::string Escaped(std::string_view text, bool alsoQuotes) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\n') {
            escaped += "\\n";
            continue;
        }
        if (c == '\\' || (c == '"' && alsoQuotes)) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string NumberText(double value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
    return fmt::format("{}", value);
}

}  // namespace

void ExpositionText::Begin(std::string_view name, Type type, std::string_view help) {
    family = name;
    text += fmt::format("# HELP {} {}\n", name, Escaped(help, false));
    text += fmt::format("# TYPE {} {}\n", name, type == Type::COUNTER ? "counter" : "gauge");
}

void ExpositionText::Add(double value, const Labels& labels) {
    std::string list;
    for (const auto& [label, content] : labels) {
        list += fmt::format("{}{}=\"{}\"", list.empty() ? "" : ",", label, Escaped(content, true));
    }
    text += family + (list.empty() ? "" : "{" + list + "}") + " " + NumberText(value) + "\n";
}

}  // namespace norvad::ctl
