#include "msrp/listener_propagation.h"

#include "base/log.h"
#include "mrp/listing.h"
#include "mrp/propagation.h"
#include "msrp/propagation_log.h"
#include "msrp/reservation.h"
#include "switch/i4_dsa_socket.h"

namespace norvad {
namespace {

constexpr int32_t logLevel = 2;
constexpr PropagationLog report{logLevel};

// Whether the listener of that port is among those that a record, or null, is declared for.
bool IsSource(uint8_t port, const Listener* declared) {
    return declared && declared->sources.Contains(port);
}

}  // namespace

ListenerPropagation::ListenerPropagation(MSRPDB& database, const I4DSASocket& socket, Reservations& reservations)
    : database(database), socket(socket), reservations(reservations) {}

void ListenerPropagation::Propagate(Listener& listener, Event indication) {
    const StreamEntry& stream = *listener.stream;
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        if (const Talker* talker = stream.On(port).talker; IsRegistered(talker)) Join(listener, *talker, indication);
    }
    if (indication == Event::LV) reservations.Release(listener);
}

void ListenerPropagation::TalkerRegistered(const Talker& talker, Event indication) {
    const StreamEntry& stream = *talker.stream;
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        Listener* listener = stream.On(port).listener;
        if (!IsRegistered(listener) || IsSource(port, stream.On(talker.port).listener)) continue;
        Join(*listener, talker, indication);
    }
}

void ListenerPropagation::TalkerLeft(const Talker& talker) {
    const StreamEntry& stream = *talker.stream;
    Listener* towardsTalker = stream.On(talker.port).listener;
    if (!towardsTalker || !towardsTalker->IsPropagated()) return;

    const PortSet listenerPorts = towardsTalker->sources;
    towardsTalker->sources.Clear();
    database.RunAttributeStateMachines(towardsTalker, talker.port, Event::LV);
    if (IsLogged(LogCategory::MSRP, 1)) {
        log(LogCategory::MSRP, 1, "Proxy Leave to %s %s on port %d\n", towardsTalker->Text().c_str(),
            StateText(*towardsTalker).c_str(), talker.port);
    }
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        Listener* listener = stream.On(port).listener;
        if (listener && listenerPorts.Contains(port) && !IsJoined(stream, port)) reservations.Release(*listener);
    }
}

void ListenerPropagation::Forget(Listener& listener) {
    reservations.Release(listener);
    for (uint8_t port = 0; port < database.PortCount(); ++port) Withdraw(listener, port);
}

bool ListenerPropagation::MayJoin(const Listener& listener, uint8_t talkerPort, Event event) const {
    if (talkerPort == listener.port || !socket.IsPortUp(talkerPort)) return false;
    const Path path = ListenerPath(listener.stream->id, EndAt(listener.port), EndAt(talkerPort), event);
    if (path == Path::BoundElsewhere && IsLogged(LogCategory::MSRP, 3)) {
        log(LogCategory::MSRP, 3, "!!!![SW-MSRP] throw away listener %s from port %d to port %d\n",
            listener.Text().c_str(), listener.port, talkerPort);
    }
    return path == Path::Open;
}

PathEnd ListenerPropagation::EndAt(uint8_t port) const {
    return {port, socket.IsStpUp(port), socket.IsAvbUp(port), socket.GetPeerIsSameMake(port)};
}

void ListenerPropagation::Join(Listener& listener, const Talker& talker, Event event) {
    if (!MayJoin(listener, talker.port, event)) return;
    if (event == Event::LV) {
        Withdraw(listener, talker.port);
        return;
    }
    Declare(listener, talker.port, event);
    if (listener.IsReady()) reservations.Reserve(listener, talker.value);
}

// The declarations of several listeners are not merged: the first sets what is declared, and after that the last one
// to report a change.
void ListenerPropagation::Declare(const Listener& listener, uint8_t port, Event event) {
    Listener* present = listener.stream->On(port).listener;
    const ListenerDeclaration declaration = listener.registeredDeclaration;
    if (!IsSource(listener.port, present)) {
        if (present && !present->IsPropagated()) present->propagatedDeclaration = declaration;
        const auto create = [&]() -> Listener& {
            Listener& created = database.InsertListener(listener.streamId, port);
            created.propagatedDeclaration = declaration;
            return created;
        };
        DeclareFrom(database, present, listener.port, event, create, report);
        return;
    }
    if (present->propagatedDeclaration == declaration) return;
    present->propagatedDeclaration = declaration;
    log(LogCategory::MSRP, logLevel, "[SW-MSRP] Port(%d) Propagated Listener from (%d): decl type changed to %s\n",
        port, listener.port, Name(declaration));
    database.RunAttributeStateMachines(present, port, Event::REDECLARE);
}

void ListenerPropagation::Withdraw(const Listener& listener, uint8_t port) {
    Listener* present = listener.stream->On(port).listener;
    if (!WithdrawFrom(database, present, listener.port, report)) return;
    present->propagatedDeclaration = ListenerDeclaration::ASKING_FAILED;
}

bool ListenerPropagation::IsJoined(const StreamEntry& stream, uint8_t listenerPort) const {
    for (uint8_t port = 0; port < database.PortCount(); ++port) {
        if (IsSource(listenerPort, stream.On(port).listener)) return true;
    }
    return false;
}

}  // namespace norvad
