#pragma once

#include <iosfwd>

namespace norvad {

class I4DSASocket;

// Link, STP and AVB state of the external ports and the CPU port, a line each.
void WritePortReport(const I4DSASocket& ports, std::ostream& report);

}  // namespace norvad
