#pragma once

#include <vector>

#include "ptp/grandmaster_export.h"

namespace norvad::network {

// Keeps what other programs would have been told.
class KeptGrandmasterOutput final : public GrandmasterOutput {
public:
    struct Kept {
        std::vector<ClockIdentity> identities;
        std::vector<GrandmasterMessage> messages;
    };

    explicit KeptGrandmasterOutput(Kept& kept) : kept(kept) {}
    void WriteIdentity(const ClockIdentity& identity) override { kept.identities.push_back(identity); }
    void Send(const GrandmasterMessage& message) override { kept.messages.push_back(message); }

private:
    Kept& kept;
};

}  // namespace norvad::network
