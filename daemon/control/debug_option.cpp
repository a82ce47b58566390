#include "daemon/control/debug_option.h"

#include <cstdint>
#include <cstdio>
#include <sstream>

#include "base/log.h"

namespace norvad {

bool SetDebugLevel(const DebugTokens& tokens) {
    if (tokens.size() != 2) return false;

    int32_t level = 0;
    std::istringstream(tokens[1]) >> level;
    const auto category = LogCategoryOf(tokens[0]);
    if (!category) return true;
    const auto index = static_cast<size_t>(*category);
    debugLevels[index] = level;
    // std::cout would end with the first line refused.
    std::printf("LOG_%s debugLevel = %d\n", logCategoryNames[index], level);
    std::fflush(stdout);
    return true;
}

}  // namespace norvad
