#include "lab/network/program/seeds.h"

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <thread>

#include "base/file_descriptor.h"
#include "lab/common/errors.h"
#include "lab/network/program/units.h"

namespace norvad::network {

namespace {

// A process that runs every so many-th seed and tells the outcomes through a pipe.
struct Worker {
    FileDescriptor outcomes;
    pid_t process;
};

[[noreturn]] void Work(int pipe, uint64_t first, uint64_t count, uint64_t step,
                       const std::function<Outcome(uint64_t seed)>& run) {
    try {
        for (uint64_t seed = first; seed <= count; seed += step) {
            const Outcome outcome = run(seed);
            if (write(pipe, &outcome, sizeof(outcome)) != sizeof(outcome)) std::_Exit(2);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "norvad3-network: %s\n", error.what());
        std::_Exit(2);
    }
    std::_Exit(0);
}

Worker StartWorker(uint64_t first, uint64_t count, uint64_t step, const std::function<Outcome(uint64_t seed)>& run) {
    std::array<int, 2> ends;
    if (pipe(ends.data()) != 0) lab::ThrowErrno("cannot make a pipe");
    FileDescriptor reading(ends[0]), writing(ends[1]);
    const pid_t process = fork();
    if (process < 0) lab::ThrowErrno("cannot start a process");
    if (process == 0) Work(writing.Get(), first, count, step, run);
    return {std::move(reading), process};
}

std::string TimeOrNever(uint64_t ns) {
    return ns == UINT64_MAX ? "never" : TimeText(static_cast<int64_t>(ns));
}

std::string Line(const char* name, std::vector<uint64_t> values, std::string (*text)(uint64_t)) {
    std::sort(values.begin(), values.end());
    return fmt::format("  {:<26} median {:>9}  worst {:>9}\n", name, text(values[values.size() / 2]),
                       text(values.back()));
}

}  // namespace

Outcome OutcomeOf(const Scenario& scenario, const std::vector<Sample>& samples, const std::vector<Verdict>& verdicts,
                  size_t subscriptions) {
    Outcome outcome;
    outcome.seed = scenario.seed;
    outcome.lostFrames = samples.back().lostStreamFrames;
    for (const Sample& sample : samples) {
        if (sample.reserved == subscriptions) outcome.reservedNs = std::min(outcome.reservedNs, sample.ns);
        if (sample.ns < scenario.durationNs / 2) continue;
        for (const auto& time : sample.bridges) {
            const auto errorNs = static_cast<uint64_t>(std::llabs(time.errorNs));
            outcome.largestErrorNs = std::max(outcome.largestErrorNs, errorNs);
        }
    }
    for (size_t n = 0; n < verdicts.size() && n < 64; ++n) outcome.failed |= uint64_t{!verdicts[n].holds} << n;
    return outcome;
}

std::vector<Outcome> RunSeeds(uint64_t count, const std::function<Outcome(uint64_t seed)>& run) {
    const uint64_t step = std::clamp<uint64_t>(std::thread::hardware_concurrency(), 1, count);
    std::vector<Worker> workers;
    for (uint64_t first = 1; first <= step; ++first) workers.push_back(StartWorker(first, count, step, run));

    std::vector<Outcome> outcomes;
    for (const Worker& worker : workers) {
        Outcome outcome;
        while (read(worker.outcomes.Get(), &outcome, sizeof(outcome)) == sizeof(outcome)) outcomes.push_back(outcome);
    }
    bool isWhole = outcomes.size() == count;
    for (const Worker& worker : workers) {
        int status = 0;
        isWhole = waitpid(worker.process, &status, 0) == worker.process && status == 0 && isWhole;
    }
    if (!isWhole) throw lab::StartError("a run has failed");
    std::sort(outcomes.begin(), outcomes.end(),
              [](const Outcome& left, const Outcome& right) { return left.seed < right.seed; });
    return outcomes;
}

std::string OutcomesText(const Scenario& scenario, const std::vector<Outcome>& outcomes) {
    std::vector<uint64_t> errors, reserved, lost;
    for (const Outcome& outcome : outcomes) {
        errors.push_back(outcome.largestErrorNs);
        reserved.push_back(outcome.reservedNs);
        lost.push_back(outcome.lostFrames);
    }
    std::string text = fmt::format("{}\n{} runs\n\n", scenario.title, outcomes.size());
    text += Line("largest time error", errors, TimeOrNever);
    text += Line("all streams reserved after", reserved, TimeOrNever);
    text += Line("stream frames lost", lost, [](uint64_t frames) { return std::to_string(frames); });
    if (!scenario.expectations.empty()) text += "\nexpected\n";
    for (size_t n = 0; n < scenario.expectations.size() && n < 64; ++n) {
        std::string seeds;
        for (const Outcome& outcome : outcomes) {
            if ((outcome.failed >> n & 1) != 0) seeds += fmt::format(" {}", outcome.seed);
        }
        text += fmt::format("  {:<4} {}{}\n", seeds.empty() ? "ok" : "FAIL", scenario.expectations[n].text,
                            seeds.empty() ? "" : ": not for the seeds" + seeds);
    }
    return text;
}

std::string OutcomesTable(const std::vector<Outcome>& outcomes) {
    std::string text = "seed,largest time error,reserved after,stream frames lost\n";
    for (const Outcome& outcome : outcomes) {
        text +=
            fmt::format("{},{},{},{}\n", outcome.seed, outcome.largestErrorNs,
                        outcome.reservedNs == UINT64_MAX ? "" : std::to_string(outcome.reservedNs), outcome.lostFrames);
    }
    return text;
}

}  // namespace norvad::network
