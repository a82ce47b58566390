#include "switch/lldp_handler.h"

#include "base/log.h"

namespace norvad {

void LLDPHandler::HandleFrame(std::span<const uint8_t>, uint16_t) {
    log(LogCategory::SOCKET, 2, " [SW-LLDP] Handle \n");
}

}  // namespace norvad
