#include "lab/network/program/verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <utility>

#include "lab/network/program/units.h"

namespace norvad::network {

namespace {

// What was seen, and whether it is as wanted.
struct Seen {
    bool holds;
    std::string text;
};

// Judges one kind of expectation each.
class Judgement {
public:
    Judgement(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples,
              const Expectation& expectation)
        : scenario(scenario), scene(scene), subscriptions(scene.Subscriptions().size()) {
        for (const Sample& sample : samples) {
            if (sample.ns < expectation.fromNs) before = &sample;
            if (sample.ns >= expectation.fromNs && sample.ns <= expectation.untilNs) window.push_back(&sample);
        }
    }

    bool HasSamples() const { return !window.empty(); }

    Seen operator()(const TimeErrorLimit& limit) const {
        int64_t largest = 0;
        size_t worst = limit.bridges.front();
        const Sample* when = window.front();
        for (const Sample* sample : window) {
            for (const size_t bridge : limit.bridges) {
                const auto& time = sample->bridges[bridge];
                if (!time.grandmaster) return FollowsNobody(bridge, *sample);
                if (std::llabs(time.errorNs) <= std::llabs(largest)) continue;
                largest = time.errorNs;
                worst = bridge;
                when = sample;
            }
        }
        return {static_cast<uint64_t>(std::llabs(largest)) <= limit.mostNs,
                fmt::format("largest {}, of {} at {}", TimeText(largest), NameOf(worst), At(*when))};
    }

    Seen operator()(const TimeOffset& offset) const {
        std::optional<int64_t> worst;
        size_t worstBridge = 0;
        for (const size_t bridge : offset.bridges) {
            std::vector<int64_t> errors;
            for (const Sample* sample : window) {
                if (!sample->bridges[bridge].grandmaster) return FollowsNobody(bridge, *sample);
                errors.push_back(sample->bridges[bridge].errorNs);
            }
            const int64_t mean = MeanNs(errors);
            if (worst && std::llabs(mean - offset.isNs) <= std::llabs(*worst - offset.isNs)) continue;
            worst = mean;
            worstBridge = bridge;
        }
        return {std::llabs(*worst - offset.isNs) <= offset.giveNs,
                fmt::format("mean {} of {}", TimeText(*worst), NameOf(worstBridge))};
    }

    Seen operator()(const OneGrandmaster& wanted) const {
        for (const Sample* sample : window) {
            for (const size_t bridge : wanted.followers) {
                const auto& grandmaster = sample->bridges[bridge].grandmaster;
                if (!grandmaster) return FollowsNobody(bridge, *sample);
                if (*grandmaster == wanted.bridge) continue;
                return {false, fmt::format("{} follows {} at {}", NameOf(bridge), NameOf(*grandmaster), At(*sample))};
            }
        }
        return {true, fmt::format("{} bridges follow {}", wanted.followers.size(), NameOf(wanted.bridge))};
    }

    Seen operator()(const ReservedWithin& wanted) const {
        for (const Sample* sample : window) {
            if (sample->reserved < subscriptions) continue;
            const uint64_t ns = sample->ns - window.front()->ns;
            return {ns <= wanted.ns, fmt::format("{} of {} at {}", sample->reserved, subscriptions, At(*sample))};
        }
        return {false, fmt::format("{} of {} in the end", window.back()->reserved, subscriptions)};
    }

    Seen operator()(const StaysReserved&) const {
        size_t gaps = 0;
        const Sample* first = nullptr;
        for (const Sample* sample : window) {
            if (sample->reserved == subscriptions) continue;
            ++gaps;
            if (first == nullptr) first = sample;
        }
        if (first == nullptr) return {true, fmt::format("{} all the time", subscriptions)};
        return {false, fmt::format("{} of {} at {}, fewer than all in {} of {} looks", first->reserved, subscriptions,
                                   At(*first), gaps, window.size())};
    }

    Seen operator()(const FramesLost& wanted) const {
        const uint64_t lost = window.back()->lostStreamFrames - (before == nullptr ? 0 : before->lostStreamFrames);
        return {lost >= wanted.least && lost <= wanted.most, fmt::format("{} frames", lost)};
    }

    Seen operator()(const LatencyLimit& limit) const {
        uint64_t largest = 0;
        for (const Subscription& each : scene.Subscriptions()) {
            const uint64_t ns = scene.ArrivalsOf(each).mostLatencyNs;
            const auto most = limit.mostNs ? limit.mostNs : scene.PromisedLatencyNs(each);
            const std::string name = scenario.stations[each.talker].name + "." + std::to_string(each.number);
            if (!most) return {false, "nothing was promised for " + name};
            if (ns > *most)
                return {false, fmt::format("{} of {}, not {}", TimeText(Signed(ns)), name, TimeText(Signed(*most)))};
            largest = std::max(largest, ns);
        }
        return {true, fmt::format("largest {}", TimeText(Signed(largest)))};
    }

private:
    static int64_t Signed(uint64_t ns) { return static_cast<int64_t>(ns); }
    static std::string At(const Sample& sample) { return TimeText(Signed(sample.ns)); }
    const std::string& NameOf(size_t bridge) const { return scenario.bridges[bridge].name; }
    Seen FollowsNobody(size_t bridge, const Sample& sample) const {
        return {false, fmt::format("{} follows nobody at {}", NameOf(bridge), At(sample))};
    }

    const Scenario& scenario;
    const Scene& scene;
    const size_t subscriptions;
    const Sample* before = nullptr;
    std::vector<const Sample*> window;
};

}  // namespace

std::vector<Verdict> Judge(const Scenario& scenario, const Scene& scene, const std::vector<Sample>& samples) {
    std::vector<Verdict> verdicts;
    for (const Expectation& expectation : scenario.expectations) {
        const Judgement judgement(scenario, scene, samples, expectation);
        const Seen seen = judgement.HasSamples() ? std::visit(judgement, expectation.wanted)
                                                 : Seen{false, "the run is over before that"};
        verdicts.push_back({seen.holds, expectation.text + ": " + seen.text});
    }
    return verdicts;
}

}  // namespace norvad::network
