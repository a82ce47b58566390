#include "msrp/talker_propagation.h"

#include <algorithm>

#include "base/log.h"
#include "mrp/propagation.h"
#include "msrp/path_filter.h"
#include "msrp/propagation_log.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {
namespace {

constexpr int32_t logLevel = 1;
constexpr PropagationLog report{logLevel};

// Default priority 0x8000 and the bridge's address, IEEE 802.1Q, 13.26.2.
BridgeID BridgeIdOf(const MacAddress& address) {
    BridgeID id = {0x80, 0x00};
    std::copy(address.begin(), address.end(), id.begin() + 2);
    return id;
}

// The record of a value that nobody has declared or registered any more takes on the value that comes next.
template <typename Record, typename Value>
Record* Renewed(Record* present, const Value& value) {
    if (present && !present->IsPropagated() && !present->IsRegistered()) present->value = value;
    return present;
}

}  // namespace

TalkerPropagation::TalkerPropagation(MSRPDB& database, const I4DSASocket& socket, const MacAddress& bridgeAddress)
    : database(database), socket(socket), bridgeId(BridgeIdOf(bridgeAddress)) {}

void TalkerPropagation::Propagate(const Talker& talker, Event indication) {
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        if (!MayCross(talker.stream->id, talker.port, port)) continue;
        if (indication == Event::LV) {
            Withdraw(talker, port);
        } else {
            Carry(talker, port, indication);
        }
    }
}

void TalkerPropagation::Propagate(const TalkerFailed& talkerFailed, Event indication) {
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        if (!MayCross(talkerFailed.stream->id, talkerFailed.port, port)) continue;
        if (indication == Event::LV) {
            Withdraw(talkerFailed, port);
        } else {
            DeclareFailed(*talkerFailed.stream, talkerFailed.value, talkerFailed.port, port, indication);
        }
    }
}

void TalkerPropagation::Forget(const TalkerFailed& talkerFailed) {
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        if (port != talkerFailed.port) Withdraw(talkerFailed, port);
    }
}

bool TalkerPropagation::MayCross(const StreamID& id, uint8_t from, uint8_t to) const {
    return from != to && socket.IsPortUp(to) && TalkerMayCross(id, from, to);
}

// On a port the stream is either had or failed: the one that is declared replaces the other.
void TalkerPropagation::Carry(const Talker& talker, uint8_t port, Event indication) {
    StreamEntry& stream = *talker.stream;
    if (socket.IsAvbUp(port)) {
        Declare(talker, port, indication);
        RemoveFailed(stream.On(port).talkerFailed);
        return;
    }
    DeclareFailed(stream, {talker.value, bridgeId, egressPortNotAvbCapable}, talker.port, port, indication);
    WithdrawFrom(database, stream.On(port).talker, talker.port, report);
}

void TalkerPropagation::Declare(const Talker& talker, uint8_t port, Event event) {
    Talker* present = Renewed(talker.stream->On(port).talker, talker.value);
    const auto create = [&]() -> Talker& { return database.InsertTalker(talker.value, port); };
    DeclareFrom(database, present, talker.port, event, create, report);
}

void TalkerPropagation::DeclareFailed(StreamEntry& stream, const TalkerFailedFirstValue& value, uint8_t source,
                                      uint8_t port, Event event) {
    TalkerFailed* present = Renewed(stream.On(port).talkerFailed, value);
    const auto create = [&]() -> TalkerFailed& { return database.InsertTalkerFailed(value, port); };
    DeclareFrom(database, present, source, event, create, report);
}

void TalkerPropagation::Withdraw(const Talker& talker, uint8_t port) {
    StreamEntry& stream = *talker.stream;
    const uint8_t source = talker.port;
    const StreamRecords records = stream.On(port);
    const bool left = WithdrawFrom(database, records.talker, source, report);
    if (!IsRegistered(stream.On(source).talkerFailed)) {
        WithdrawFrom(database, records.talkerFailed, source, report);
    }
    if (left) RestoreFailed(stream, port);
}

// The failed talker stays while the same port's talker is declared as failed here.
void TalkerPropagation::Withdraw(const TalkerFailed& talkerFailed, uint8_t port) {
    const StreamEntry& stream = *talkerFailed.stream;
    const uint8_t source = talkerFailed.port;
    if (IsRegistered(stream.On(source).talker) && !socket.IsAvbUp(port)) return;
    WithdrawFrom(database, stream.On(port).talkerFailed, source, report);
}

// What the neighbour registered is his to take back; only this bridge's own declaration goes.
void TalkerPropagation::RemoveFailed(TalkerFailed* talkerFailed) {
    if (!talkerFailed || (talkerFailed->IsRegistered() && !talkerFailed->IsPropagated())) return;
    const uint8_t port = talkerFailed->port;
    log(LogCategory::MSRP, logLevel, "[SW-MSRP] Port(%d) Remove Propagated Talker failed for talker\n", port);
    if (!talkerFailed->IsRegistered()) {
        database.RemoveAttribute(*talkerFailed);
        return;
    }
    talkerFailed->sources.Clear();
    database.RunAttributeStateMachines(talkerFailed, port, Event::LV);
}

// The talker had displaced the failed talkers of other ports, which are still registered there.
void TalkerPropagation::RestoreFailed(StreamEntry& stream, uint8_t port) {
    for (uint8_t source = 0; source < database.PortCount(); ++source) {
        const TalkerFailed* failed = stream.On(source).talkerFailed;
        if (!IsRegistered(failed) || !MayCross(stream.id, source, port)) continue;
        const TalkerFailed* there = stream.On(port).talkerFailed;
        if (there && there->sources.Contains(source)) continue;
        DeclareFailed(stream, failed->value, source, port, Event::JOIN);
    }
}

}  // namespace norvad
