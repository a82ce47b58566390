#pragma once

#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

namespace norvad::ctl::test {

// Reads metrics by the grammar of the text format, version 0.0.4, written apart from what writes them.
class Exposition {
public:
    // Throws std::runtime_error with the line that is none, or that stands where it may not.
    explicit Exposition(const std::string& text) {
        if (!text.empty() && text.back() != '\n') throw std::runtime_error("the last line has no end");
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("# HELP ")) {
                ReadHelp(line);
            } else if (line.starts_with("# TYPE ")) {
                ReadType(line);
            } else {
                ReadSample(line);
            }
        }
    }

    // By name and labels as written: norvad3_port_up{port="0"}.
    const std::map<std::string, std::string>& Samples() const { return samples; }
    const std::map<std::string, std::string>& Types() const { return types; }

private:
    // The name that the text begins with at that place, which moves behind it.
    static std::string Name(const std::string& line, size_t& at, bool mayHoldColons) {
        const size_t begin = at;
        while (at < line.size()) {
            const char c = line[at];
            const bool letter =
                (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c == ':' && mayHoldColons);
            if (!letter && !(c >= '0' && c <= '9' && at > begin)) break;
            ++at;
        }
        if (at == begin) throw std::runtime_error("no name: " + line);
        return line.substr(begin, at - begin);
    }

    static void Expect(const std::string& line, size_t& at, char wanted) {
        if (at >= line.size() || line[at] != wanted)
            throw std::runtime_error(std::string("no ") + wanted + ": " + line);
        ++at;
    }

    void ReadHelp(const std::string& line) {
        size_t at = std::string("# HELP ").size();
        const std::string name = Name(line, at, true);
        Expect(line, at, ' ');
        for (; at < line.size(); ++at) {
            if (line[at] != '\\') continue;
            ++at;
            if (at >= line.size() || (line[at] != '\\' && line[at] != 'n')) throw std::runtime_error("escape: " + line);
        }
        if (!helps.insert(name).second) throw std::runtime_error("a second help: " + line);
        family.clear();
    }

    void ReadType(const std::string& line) {
        size_t at = std::string("# TYPE ").size();
        const std::string name = Name(line, at, true);
        Expect(line, at, ' ');
        const std::string type = line.substr(at);
        if (type != "gauge" && type != "counter") throw std::runtime_error("type: " + line);
        if (!types.emplace(name, type).second) throw std::runtime_error("a second type: " + line);
        family = name;
    }

    // All samples of a family stand together, below its type.
    void ReadSample(const std::string& line) {
        size_t at = 0;
        const std::string name = Name(line, at, true);
        if (name != family) throw std::runtime_error("not below its type: " + line);
        if (at < line.size() && line[at] == '{') ReadLabels(line, at);
        const std::string key = line.substr(0, at);
        Expect(line, at, ' ');
        const std::string value = line.substr(at);
        size_t read = 0;
        const bool isSpecial = value == "NaN" || value == "+Inf" || value == "-Inf";
        if (!isSpecial) (void)std::stod(value, &read);
        if (!isSpecial && (read != value.size() || value.find_first_not_of("+-.0123456789e") != std::string::npos)) {
            throw std::runtime_error("value: " + line);
        }
        if (!samples.emplace(key, value).second) throw std::runtime_error("a second time: " + line);
    }

    static void ReadLabels(const std::string& line, size_t& at) {
        std::set<std::string> names;
        do {
            ++at;
            const std::string name = Name(line, at, false);
            if (!names.insert(name).second) throw std::runtime_error("a label twice: " + line);
            Expect(line, at, '=');
            Expect(line, at, '"');
            while (at < line.size() && line[at] != '"') {
                if (line[at] == '\\') {
                    ++at;
                    if (at >= line.size() || std::string("\\\"n").find(line[at]) == std::string::npos) {
                        throw std::runtime_error("escape: " + line);
                    }
                }
                ++at;
            }
            Expect(line, at, '"');
        } while (at < line.size() && line[at] == ',');
        Expect(line, at, '}');
    }

    std::string family;  // whose type was read last
    std::set<std::string> helps;
    std::map<std::string, std::string> types, samples;
};

}  // namespace norvad::ctl::test
