#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tests/support/system/frame.h"
#include "tests/support/system/process.h"

namespace norvad::test {

// What a ptp4l of this world wants to be.
struct Ptp4lRole {
    int priority1;  // the lower the better
    bool slaveOnly = false;
};
inline constexpr Ptp4lRole grandmasterRole{100};
inline constexpr Ptp4lRole slaveRole{254, true};

// ptp4l with its gPTP profile on interface. Its time stamps are the kernel's and it runs free: it measures the system
// clock and never touches it, and the calls that could are refused to it besides.
class Ptp4lPeer {
public:
    Ptp4lPeer(const std::string& interface, const Ptp4lRole& role);

    // Its clock identity, 8 bytes.
    const Bytes& Identity() const { return identity; }

    // The value of field in its data set of that name ("PARENT_DATA_SET"), as pmc prints it; empty when it does not
    // answer or has no such field.
    std::string Value(const std::string& dataSet, const std::string& field) const;
    bool WaitForValue(const std::string& dataSet, const std::string& field, const std::string& value) const;

    // Whether it selects that clock as its grandmaster, heard from the daemon's port 1.
    bool WaitForGrandmaster(const Bytes& clock) const;

    // Whether, from now on, it takes Syncs of that grandmaster and sees it less than bound away from the system clock.
    bool WaitForOffsetTo(const Bytes& grandmaster, std::chrono::nanoseconds bound) const;

    bool WaitForOutput(const std::string& text) const { return program->WaitForOutput(text); }

    // Kills it as a power cut would.
    void Kill();

    // What failed expectations are read with.
    std::string Log() const { return "ptp4l:\n" + program->Output() + program->Errors(); }

private:
    std::string controlSocket;
    Bytes identity;
    std::optional<Process> program;
};

// The clock identity that a station or bridge with that MAC address has.
Bytes ClockIdentity(const Bytes& address);

// "024e56.fffe.440003", as pmc and ptp4l write a clock identity.
std::string ClockText(const Bytes& identity);

}  // namespace norvad::test
