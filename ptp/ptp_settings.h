#pragma once

#include <cstdint>

namespace norvad {

// What the command line decides about gPTP.
struct PtpSettings {
    uint32_t ptpPriority1 = 250;  // of the local clock, 0..255; smaller is a better grandmaster
    bool ptpNoGM = false;         // the local clock never becomes grandmaster
};

}  // namespace norvad
