#pragma once

#include <array>
#include <cstdint>

namespace norvad {

using MacAddress = std::array<uint8_t, 6>;

}  // namespace norvad
