#include "lab/common/clock_mapping.h"

#include <cmath>

namespace norvad::lab {

namespace {

constexpr double largestRateError = 1e-3;  // beyond it somebody has stepped the clock

}  // namespace

void ClockMapping::Sample(int64_t fromNs, int64_t toNs) {
    rate = 1;
    if (latest && fromNs > latest->fromNs) {
        const double measured = static_cast<double>(toNs - latest->toNs) / static_cast<double>(fromNs - latest->fromNs);
        if (std::abs(measured - 1) <= largestRateError) rate = measured;
    }
    latest = {fromNs, toNs};
}

std::optional<int64_t> ClockMapping::Map(int64_t fromNs) const {
    if (!latest) return {};
    const double deviation = static_cast<double>(fromNs - latest->fromNs) * (rate - 1);
    return latest->toNs + (fromNs - latest->fromNs) + std::llround(deviation);
}

}  // namespace norvad::lab
