#pragma once

#include <cstdint>

#include "msrp/msrpdb.h"

namespace norvad {

class I4DSASocket;

// Carries talkers and failed talkers from the port where they are registered to the other ports. Where the port cannot
// carry streams, a talker is declared as a failed one that names this bridge.
class TalkerPropagation {
public:
    TalkerPropagation(MSRPDB& database, const I4DSASocket& socket, const MacAddress& bridgeAddress);

    // indication: NEW, JOIN or LV.
    void Propagate(const Talker& talker, Event indication);
    void Propagate(const TalkerFailed& talkerFailed, Event indication);

    // The record is about to be freed, perhaps without having left: it is no source any more.
    void Forget(const TalkerFailed& talkerFailed);

private:
    bool MayCross(const StreamID& id, uint8_t from, uint8_t to) const;

    void Carry(const Talker& talker, uint8_t port, Event indication);
    void Declare(const Talker& talker, uint8_t port, Event event);
    void DeclareFailed(StreamEntry& stream, const TalkerFailedFirstValue& value, uint8_t source, uint8_t port,
                       Event event);
    void Withdraw(const Talker& talker, uint8_t port);
    void Withdraw(const TalkerFailed& talkerFailed, uint8_t port);
    void RemoveFailed(TalkerFailed* talkerFailed);
    void RestoreFailed(StreamEntry& stream, uint8_t port);

    MSRPDB& database;
    const I4DSASocket& socket;
    BridgeID bridgeId;
};

}  // namespace norvad
