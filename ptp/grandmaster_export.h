#pragma once

#include "ptp/clocks.h"
#include "ptp/grandmaster_message.h"

namespace norvad {

// Where other programs on this machine learn of the grandmaster.
class GrandmasterOutput {
public:
    virtual ~GrandmasterOutput() = default;
    virtual void WriteIdentity(const ClockIdentity& identity) = 0;
    virtual void Send(const GrandmasterMessage& message) = 0;
};

// Tells the other programs on this machine who the grandmaster is.
class GrandmasterExport {
public:
    GrandmasterExport(const BestMaster& best, const GrandmasterMessage& grandmaster, GrandmasterOutput& output)
        : best(best), grandmaster(grandmaster), output(output) {}

    // The message is sent only once a grandmaster has been selected.
    void SendGrandmasterId();

private:
    const BestMaster& best;
    const GrandmasterMessage& grandmaster;
    GrandmasterOutput& output;
};

}  // namespace norvad
