#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/system/board_test.h"
#include "tests/support/system/ptp4l_peer.h"

namespace norvad::test {

// A board between two ptp4l: upstream at port 0, downstream at port 1. ptp4l refuses messages with bytes behind their
// end, so the board cuts the daemon's trailers off.
class Ptp4lTest : public BoardTest {
protected:
    // The board and those ptp4l that a role is given for.
    void StartBetween(const std::optional<Ptp4lRole>& atPort0, const std::optional<Ptp4lRole>& atPort1,
                      const std::vector<std::string>& daemonArguments = {"-n", "-d", "PTP", "1"});

    // A new ptp4l of that role where the old one was.
    void StartUpstream(const Ptp4lRole& role);

    // Whether the daemon's port state becomes that ("SLAVE") after the first skipped lines of the log.
    bool WaitForState(const std::string& state, size_t skipped = 0) const;

    // The port states that the daemon switched to since then, in order.
    std::vector<std::string> States(size_t skipped = 0) const;

    // What failed expectations are read with.
    std::string Everything() const;

    // Far enough from any clock error here, near enough to tell that time was handed on at all.
    static constexpr std::chrono::milliseconds sameTime{100};

    const Bytes bridge = ClockIdentity(VirtualBoard::Address());
    std::unique_ptr<Ptp4lPeer> upstream;
    std::unique_ptr<Ptp4lPeer> downstream;
};

}  // namespace norvad::test
