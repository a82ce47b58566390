#include "daemon/control/debug_option.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <sstream>

#include "base/log.h"

namespace norvad {

namespace {

constexpr std::array<const char*, logCategoryCount> categoryNames = {"SOCKET", "MRP", "MSRP", "MVRP", "PTP", "IOCTL"};

std::string UpperCase(std::string text) {
    for (char& letter : text) letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    return text;
}

}  // namespace

bool SetDebugLevel(const DebugTokens& tokens) {
    if (tokens.size() != 2) return false;

    int32_t level = 0;
    std::istringstream(tokens[1]) >> level;
    const auto name = std::find(categoryNames.begin(), categoryNames.end(), UpperCase(tokens[0]));
    if (name == categoryNames.end()) return true;
    debugLevels[static_cast<size_t>(name - categoryNames.begin())] = level;
    std::printf("LOG_%s debugLevel = %d\n", *name, level);  // std::cout would end with the first line refused
    std::fflush(stdout);
    return true;
}

}  // namespace norvad
