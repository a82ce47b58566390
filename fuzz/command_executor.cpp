#include "daemon/control/command_executor.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "fuzz/control_bridge.h"

// Any text as an operator's command: it is always answered, and nothing gets out.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    norvad::ControlBridge control;
    std::ostringstream answer;
    norvad::ExecuteCommand(control.bridge, std::string(data, data + size), answer);
    if (answer.str().empty()) std::abort();
    return 0;
}
