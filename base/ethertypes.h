#pragma once

#include <cstdint>

namespace norvad {

inline constexpr uint16_t ETHERTYPE_MSRP = 0x22EA;  // IEEE 802.1Q, table 10-2
inline constexpr uint16_t ETHERTYPE_MVRP = 0x88F5;  // IEEE 802.1Q, table 10-2
inline constexpr uint16_t ETHERTYPE_PTP2 = 0x88F7;  // IEEE 802.1AS, 10.4.3
inline constexpr uint16_t ETHERTYPE_LLDP = 0x88CC;  // IEEE 802.1AB, 7.1
inline constexpr uint16_t ETHERTYPE_TAG = 0xDADA;   // the CPU frame tag of this switch

}  // namespace norvad
