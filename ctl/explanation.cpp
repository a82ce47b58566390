#include "ctl/explanation.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "ctl/table.h"

namespace norvad::ctl {

namespace {

const char* Name(Finding finding) {
    switch (finding) {
        case Finding::HOLDS:
            return "holds";
        case Finding::MISSING:
            return "missing";
        case Finding::UNKNOWN:
            break;
    }
    return "not known";
}

Mark MarkOf(Finding finding) {
    switch (finding) {
        case Finding::HOLDS:
            return Mark::GOOD;
        case Finding::MISSING:
            return Mark::BAD;
        case Finding::UNKNOWN:
            break;
    }
    return Mark::FAINT;
}

std::string NameOf(const Step& step) {
    return step.port ? fmt::format("{}, port {}", step.name, *step.port) : step.name;
}

// A paragraph of lines that fit a terminal.
std::string Paragraph(const std::string& text) {
    constexpr size_t width = 100;
    const std::string indent = "    ";
    std::istringstream words(text);
    std::string paragraph, line = indent, word;
    while (words >> word) {
        if (line.size() > indent.size() && line.size() + 1 + word.size() > width) {
            paragraph += line + "\n";
            line = indent;
        }
        if (line.size() > indent.size()) line += ' ';
        line += word;
    }
    return line == indent ? paragraph : paragraph + line + "\n";
}

std::string Told(const Step& step, bool colours) {
    const Cell heading{fmt::format("{}: {}", Name(step.finding), NameOf(step)), MarkOf(step.finding)};
    return fmt::format("\n{}\n{}{}", Coloured(heading, colours), Paragraph(step.meaning), Paragraph(step.advice));
}

}  // namespace

Step Holds(Step step, std::string seen) {
    step.finding = Finding::HOLDS;
    step.seen = std::move(seen);
    return step;
}

Step Missing(Step step, std::string seen, std::string meaning, std::string advice) {
    step.finding = Finding::MISSING;
    step.seen = std::move(seen);
    step.meaning = std::move(meaning);
    step.advice = std::move(advice);
    return step;
}

Step Unknown(Step step, std::string seen, std::string meaning, std::string advice) {
    step = Missing(std::move(step), std::move(seen), std::move(meaning), std::move(advice));
    step.finding = Finding::UNKNOWN;
    return step;
}

const Step* Explanation::FirstMissing() const {
    const auto isMissing = [](const Step& step) { return step.finding == Finding::MISSING; };
    const auto found = std::find_if(steps.begin(), steps.end(), isMissing);
    return found == steps.end() ? nullptr : &*found;
}

std::string ExplanationText(const Explanation& explanation, bool colours) {
    Table table{{"STEP", "STATE", "SEEN", "FROM"}, {}};
    for (const Step& step : explanation.steps) {
        const Cell state{Name(step.finding), MarkOf(step.finding)};
        table.rows.push_back({{NameOf(step)}, state, {step.seen}, {step.from, Mark::FAINT}});
    }
    std::string text = Render(table, colours);
    // What is not known behind the first missing step mostly follows from that.
    for (const Step& step : explanation.steps) {
        if (step.finding != Finding::HOLDS) text += Told(step, colours);
        if (step.finding == Finding::MISSING) return text;
    }
    text += "\nnothing is missing\n";
    return text;
}

Json ExplanationJson(const Explanation& explanation) {
    Json steps = Json::array();
    for (const Step& step : explanation.steps) {
        steps.push_back({{"step", step.name},
                         {"port", step.port ? Json(*step.port) : Json(nullptr)},
                         {"state", Name(step.finding)},
                         {"seen", step.seen},
                         {"from", step.from},
                         {"meaning", step.meaning},
                         {"advice", step.advice}});
    }
    return {{"holds", explanation.FirstMissing() == nullptr}, {"steps", steps}};
}

}  // namespace norvad::ctl
