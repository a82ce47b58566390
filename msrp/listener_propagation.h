#pragma once

#include <cstdint>

#include "msrp/msrpdb.h"
#include "msrp/path_filter.h"

namespace norvad {

class I4DSASocket;
class Reservations;

// Joins listeners to talkers. A registered listener is declared on every port where a talker of its stream is
// registered and which it may reach, whichever of the two came first, and reserves the stream on its own port when it
// is ready.
class ListenerPropagation {
public:
    ListenerPropagation(MSRPDB& database, const I4DSASocket& socket, Reservations& reservations);

    // indication: NEW, JOIN or LV, of the listener itself.
    void Propagate(Listener& listener, Event indication);

    // The talker registered, by NEW or JOIN: listeners that were waiting for it are joined. Those that are joined to it
    // already have nothing to report.
    void TalkerRegistered(const Talker& talker, Event indication);

    // The talker is gone: what was declared towards it is withdrawn, and the reservations that hung on it end.
    void TalkerLeft(const Talker& talker);

    // A record that is about to be freed holds no reservation and is no source any more.
    void Forget(Listener& listener);

private:
    bool MayJoin(const Listener& listener, uint8_t talkerPort, Event event) const;
    PathEnd EndAt(uint8_t port) const;

    void Join(Listener& listener, const Talker& talker, Event event);
    void Declare(const Listener& listener, uint8_t port, Event event);
    void Withdraw(const Listener& listener, uint8_t port);
    bool IsJoined(const StreamEntry& stream, uint8_t listenerPort) const;

    MSRPDB& database;
    const I4DSASocket& socket;
    Reservations& reservations;
};

}  // namespace norvad
