#pragma once

#include <string>

namespace norvad {

class Clock;

// Waits until the interface runs: looks at it every 200 ms, and once more after it was found to run. Ends the process
// with status -1 when its flags cannot be read.
void WaitForInterface(const std::string& interfaceName, Clock& clock);

}  // namespace norvad
