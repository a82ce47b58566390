#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace norvad::bench {

// Measurements of one thing, in one unit.
class Samples {
public:
    void Add(double value) { values.push_back(value); }
    size_t Count() const { return values.size(); }

    // The least for share 0, the median for 0.5, the most for 1. There is at least one sample.
    double Quantile(double share) const {
        std::vector<double> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        return sorted[static_cast<size_t>(share * static_cast<double>(sorted.size() - 1))];
    }

    void Print(const char* name, const char* unit) const {
        if (values.empty()) {
            std::printf("%-44s nothing measured\n", name);
            return;
        }
        std::printf("%-44s min %9.3f  median %9.3f  p90 %9.3f  p99 %9.3f  max %9.3f %s  (%zu)\n", name, Quantile(0),
                    Quantile(0.5), Quantile(0.9), Quantile(0.99), Quantile(1), unit, values.size());
    }

private:
    std::vector<double> values;
};

}  // namespace norvad::bench
