#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <ctime>

namespace norvad::bench {

// Processor time of the calling thread: other programs run beside a benchmark.
inline double ProcessorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// What work takes, in seconds.
template <typename Work>
double Measure(Work work) {
    const double begin = ProcessorSeconds();
    work();
    return ProcessorSeconds() - begin;
}

// Reports the time of one value beside that of a run.
inline void PerValue(benchmark::State& state, uint32_t valuesPerRun) {
    const auto values = static_cast<double>(state.iterations()) * valuesPerRun;
    state.counters["per_value"] = benchmark::Counter(values, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace norvad::bench
