#pragma once

#include "ptp/grandmaster_output.h"
#include "ptp/ptp_instance.h"

namespace norvad {

// Tells the other programs on this machine who the grandmaster is.
class GrandmasterExport {
public:
    GrandmasterExport(const PTPInstance& ptp, GrandmasterOutput& output) : ptp(ptp), output(output) {}

    // The message is sent only once a grandmaster has been selected.
    void SendGrandmasterId();

private:
    const PTPInstance& ptp;
    GrandmasterOutput& output;
};

}  // namespace norvad
