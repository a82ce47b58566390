#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ctl/json_views.h"

namespace norvad::ctl {

enum class Finding {
    HOLDS,
    MISSING,
    UNKNOWN  // the daemon's answers do not tell
};

// One rung of the chain that leads from a cable to a stream that flows.
struct Step {
    std::string name;              // "AS capable"
    std::optional<unsigned> port;  // none: a matter of the whole bridge
    std::string from;              // the daemon's answers that it follows from: "-s -p"
    Finding finding = Finding::UNKNOWN;
    std::string seen{};     // "no", "512 ns, the neighbour's clock +1.500 ppm"
    std::string meaning{};  // the rule behind what is missing or not known
    std::string advice{};   // what to do about it, or where it can be seen
};

Step Holds(Step step, std::string seen);
Step Missing(Step step, std::string seen, std::string meaning, std::string advice);
Step Unknown(Step step, std::string seen, std::string meaning, std::string advice);

// The rungs in the order in which one rests on the other.
struct Explanation {
    std::vector<Step> steps;

    // Where to begin; null when nothing is missing.
    const Step* FirstMissing() const;
};

// A table of all rungs; below it what the first missing one means and what to do, and where that can be seen which is
// not known before it.
std::string ExplanationText(const Explanation& explanation, bool colours);
Json ExplanationJson(const Explanation& explanation);

}  // namespace norvad::ctl
