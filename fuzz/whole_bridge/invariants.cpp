#include "fuzz/whole_bridge/invariants.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "fuzz/whole_bridge/violation.h"
#include "msrp/path_filter.h"

namespace norvad::fuzz {

namespace {

// Whether this bridge declares the value, or is about to: the Applicant is a member.
bool IsDeclared(const MRPAttribute& record) {
    switch (record.state.applicant) {
        using enum ApplicantState;
        case VP:
        case VN:
        case AN:
        case AA:
        case QA:
        case AP:
        case QP:
            return true;
        case VO:
        case LA:
        case AO:
        case QO:
        case LO:
            return false;
    }
    return false;
}

std::string Where(const MRPAttribute& record) {
    return "port " + std::to_string(record.port) + " " + record.Text() + " registrar " + Name(record.state.registrar) +
           " applicant " + Name(record.state.applicant);
}

void Require(bool holds, const char* what, const MRPAttribute& record) {
    if (!holds) Violated(what, Where(record));
}

// Streams of the daemon's host go by rules of their own.
bool IsOfTheHost(const StreamID& id) {
    const uint8_t selector = id[6];
    return selector == 0x1F || selector == 0x2F || selector == 0x3F || selector == 0x7F;
}

const MRPAttribute* RecordOf(const StreamRecords& records, uint8_t type) {
    if (type == TALKER_ADVERTISE) return records.talker;
    if (type == TALKER_FAILED) return records.talkerFailed;
    return records.listener;
}

bool IsJoinedAt(const StreamEntry& stream, uint8_t talkerPort, uint8_t listenerPort) {
    const Listener* towards = stream.On(talkerPort).listener;
    return towards && towards->sources.Contains(listenerPort);
}

constexpr std::array<uint8_t, 3> streamTypes{TALKER_ADVERTISE, TALKER_FAILED, LISTENER_VECTOR};

}  // namespace

template <typename Record, typename Visitor>
void Invariants::ForEachOf(uint8_t type, Visitor visit) {
    for (uint8_t port = 0; port < portCount; ++port) {
        msrp.ForEach(port, type, [&](MRPAttribute& record) { visit(static_cast<Record&>(record)); });
    }
}

void Invariants::Check(const RequestedTables& requested) {
    Remember();
    CheckStreamIndex();
    CheckDomainIndex();
    CheckVlanIndex();
    CheckBounds();
    CheckSourcesAreRegistered();
    CheckDeclarationsHaveSources();
    CheckTalkersAreCarried();
    CheckListenersAreJoined();
    CheckVlansAreCarried();
    CheckReservationsHaveReasons();
    CheckReadyListenersReserve();
    CheckGroups(requested);
    CheckEgress(requested);
    CheckVlanMembers(requested);
}

// What excuses later differences.
void Invariants::Remember() {
    for (uint8_t port = 0; port < portCount; ++port) {
        if (!bridge.IsPortUp(port) || !bridge.IsStpUp(port)) closedOnce[port] = true;
        if (!bridge.IsAvbUp(port)) withoutAvbOnce[port] = true;
    }
    for (const uint8_t type : streamTypes) {
        ForEachOf<StreamAttribute>(type, [&](StreamAttribute& record) { streamsSeen.insert(record.Id()); });
    }
    ForEachOf<Talker>(TALKER_ADVERTISE, [&](Talker& talker) { talkersSeen.insert({talker.port, talker.Id()}); });
    ForEachOf<Listener>(LISTENER_VECTOR, [&](Listener& listener) {
        if (listener.IsPropagated()) echoesSeen.insert({listener.port, listener.streamId});
        if (!listener.reservation.active) return;
        const Reservation& held = listener.reservation;
        groupUsers[{listener.port, held.vid, held.destination}].insert(listener.streamId);
        vlansReserved[listener.port].insert(held.vid);
    });
    for (uint8_t port = 0; port < portCount; ++port) {
        mvrp.ForEach(port, [&](MRPAttribute& record) { vlansSeen.insert(static_cast<Vlan&>(record).Vid()); });
    }
}

// A record that is not found is declared for ever and made a second time; an entry whose record is gone is used after
// it was freed.
void Invariants::CheckStreamIndex() {
    std::unordered_set<const MRPAttribute*> listed;
    for (const uint8_t type : streamTypes) {
        ForEachOf<StreamAttribute>(type, [&](StreamAttribute& record) {
            listed.insert(&record);
            Require(record.stream && record.stream == msrp.FindStream(record.Id()), "a record's stream is found",
                    record);
            Require(RecordOf(record.stream->On(record.port), type) == &record, "a stream knows its records", record);
        });
    }
    recordsChecked += listed.size();
    size_t found = 0;
    for (const StreamID& id : streamsSeen) {
        const StreamEntry* stream = msrp.FindStream(id);
        if (!stream) continue;
        if (stream->IsEmpty()) Violated("a stream without records is forgotten", StreamIdText(id));
        for (uint8_t port = 0; port < portCount; ++port) {
            const StreamRecords records = stream->On(port);
            for (const uint8_t type : streamTypes) {
                const MRPAttribute* record = RecordOf(records, type);
                if (!record) continue;
                if (!listed.contains(record)) Violated("a stream's record is listed", StreamIdText(id));
                ++found;
            }
        }
    }
    if (found != listed.size()) Violated("streams and lists hold the same records", found);
}

// A domain that is not found is made a second time.
void Invariants::CheckDomainIndex() {
    ForEachOf<Domain>(DOMAIN, [&](Domain& domain) {
        Require(msrp.FindDomain(domain.value, domain.port) == &domain, "a domain is found", domain);
    });
}

// As for streams.
void Invariants::CheckVlanIndex() {
    size_t listed = 0, found = 0;
    for (uint8_t port = 0; port < portCount; ++port) {
        mvrp.ForEach(port, [&](MRPAttribute& record) {
            ++listed;
            Require(mvrp.FindVlan(static_cast<Vlan&>(record).Vid(), port) == &record, "a VLAN is found", record);
        });
        for (const uint16_t vid : vlansSeen) found += mvrp.FindVlan(vid, port) != nullptr;
    }
    recordsChecked += listed;
    if (found != listed) Violated("index and lists hold the same VLANs", found);
}

// No neighbour takes more memory than he is given.
void Invariants::CheckBounds() {
    for (uint8_t port = 0; port < portCount; ++port) {
        std::array<uint32_t, MRP::maxAttributeType + 1> received{};
        const auto count = [&](MRPAttribute& record) { received[record.type] += record.madeByReception; };
        msrp.ForEach(port, count);
        for (const uint32_t number : received) {
            if (number > MSRPDB::maxReceived) Violated("MSRP keeps its bound", number);
        }
        received = {};
        mvrp.ForEach(port, count);
        if (received[Vlan::attributeType] > MVRPDB::maxReceived) Violated("MVRP keeps its bound", port);
    }
}

// A value is declared for those only who want it: a source whose registration has gone is a leak. A listener's leave
// crosses open paths only; where one was closed he is a source for as long as his record lives.
void Invariants::CheckSourcesAreRegistered() {
    const auto check = [&](StreamAttribute& record, auto isThere) {
        for (uint8_t source = 0; source < 32; ++source) {
            if (!record.sources.Contains(source)) continue;
            Require(source < portCount && source != record.port, "sources are other ports", record);
            Require(isThere(record.stream->On(source), source), "a source is registered", record);
        }
    };
    ForEachOf<Talker>(TALKER_ADVERTISE, [&](Talker& talker) {
        check(talker, [](const StreamRecords& there, uint8_t) { return IsRegistered(there.talker); });
    });
    ForEachOf<TalkerFailed>(TALKER_FAILED, [&](TalkerFailed& failed) {
        check(failed, [](const StreamRecords& there, uint8_t) {
            return IsRegistered(there.talker) || IsRegistered(there.talkerFailed);
        });
    });
    ForEachOf<Listener>(LISTENER_VECTOR, [&](Listener& listener) {
        check(listener, [&](const StreamRecords& there, uint8_t source) {
            const bool mayLinger = closedOnce[source] || closedOnce[listener.port] || IsOfTheHost(listener.streamId);
            return IsRegistered(there.listener) || (there.listener && mayLinger);
        });
        if (!listener.IsPropagated()) return;
        Require(IsRegistered(listener.stream->On(listener.port).talker), "a listener is declared towards a talker",
                listener);
    });
}

// What has a source is declared and what has none is not: else a neighbour reserves for nobody, or nobody hears of it.
// A VLAN on a port that went down was flushed; it is declared again when the port comes up.
void Invariants::CheckDeclarationsHaveSources() {
    for (const uint8_t type : streamTypes) {
        ForEachOf<StreamAttribute>(type, [&](StreamAttribute& record) {
            Require(IsDeclared(record) == record.IsPropagated(), "a stream is declared when it has a source", record);
        });
    }
    for (uint8_t port = 0; port < portCount; ++port) {
        if (!bridge.IsPortUp(port)) continue;
        mvrp.ForEach(port, [&](MRPAttribute& vlan) {
            Require(IsDeclared(vlan) == vlan.IsPropagated(), "a VLAN is declared when it has a source", vlan);
        });
    }
}

// A talker that is registered is offered on every port in service, as a talker or as a failed one. What a neighbour
// says of the talker removes the failed one on his port, which is declared again with the talker's next refresh.
void Invariants::CheckTalkersAreCarried() {
    ForEachOf<Talker>(TALKER_ADVERTISE, [&](Talker& talker) {
        if (!talker.IsRegistered()) return;
        for (uint8_t port = 0; port < portCount; ++port) {
            if (port == talker.port || closedOnce[port] || !TalkerMayCross(talker.Id(), talker.port, port)) continue;
            const StreamRecords there = talker.stream->On(port);
            const bool asTalker = there.talker && there.talker->sources.Contains(talker.port);
            const bool asFailed = there.talkerFailed && there.talkerFailed->sources.Contains(talker.port);
            if (asTalker || asFailed) continue;
            if (withoutAvbOnce[port] && talkersSeen.contains({port, talker.Id()})) continue;
            Violated("a talker is carried to every port", Where(talker) + " not to " + std::to_string(port));
        }
    });
}

// Whoever asks for a stream is heard by its talker, whichever of the two came first.
void Invariants::CheckListenersAreJoined() {
    ForEachOf<Listener>(LISTENER_VECTOR, [&](Listener& listener) {
        if (!listener.IsRegistered() || IsOfTheHost(listener.streamId) || closedOnce[listener.port]) return;
        for (uint8_t port = 0; port < portCount; ++port) {
            if (port == listener.port || closedOnce[port]) continue;
            if (!IsRegistered(listener.stream->On(port).talker)) continue;
            if (IsJoinedAt(*listener.stream, port, listener.port)) continue;
            Violated("a listener is joined to its talker", Where(listener) + " not to " + std::to_string(port));
        }
    });
}

// A VLAN that is registered on one port is declared on all others that are up, and for nobody else.
void Invariants::CheckVlansAreCarried() {
    for (const uint16_t vid : vlansSeen) {
        for (uint8_t source = 0; source < portCount; ++source) {
            const Vlan* registered = mvrp.FindVlan(vid, source);
            for (uint8_t port = 0; port < portCount; ++port) {
                const Vlan* declared = mvrp.FindVlan(vid, port);
                const bool isSource = declared && declared->sources.Contains(source);
                if (isSource && port == source) Violated("a VLAN comes from other ports", vid);
                if (isSource && !IsRegistered(registered)) Violated("a VLAN's source is registered", vid);
                if (port == source || isSource || !bridge.IsPortUp(port) || !IsRegistered(registered)) continue;
                Violated("a VLAN is carried to every port", vid);
            }
        }
    }
}

// Bandwidth is held by a listener that is registered and joined to a registered talker.
void Invariants::CheckReservationsHaveReasons() {
    ForEachOf<Listener>(LISTENER_VECTOR, [&](Listener& listener) {
        if (!listener.reservation.active) return;
        Require(listener.IsRegistered(), "a reservation is a registered listener's", listener);
        bool joined = false;
        for (uint8_t port = 0; port < portCount; ++port) {
            joined = joined || (IsJoinedAt(*listener.stream, port, listener.port) &&
                                IsRegistered(listener.stream->On(port).talker));
        }
        Require(joined, "a reservation is joined to a talker", listener);
    });
}

// A ready listener that is joined to a talker has the stream. One that echoed what this bridge declares to it reported
// no change, and reserves when it declares again.
void Invariants::CheckReadyListenersReserve() {
    ForEachOf<Listener>(LISTENER_VECTOR, [&](Listener& listener) {
        if (!listener.IsRegistered() || !listener.IsReady() || listener.reservation.active) return;
        if (IsOfTheHost(listener.streamId) || echoesSeen.contains({listener.port, listener.streamId})) return;
        for (uint8_t port = 0; port < portCount; ++port) {
            if (closedOnce[port] || closedOnce[listener.port]) continue;
            Require(!IsJoinedAt(*listener.stream, port, listener.port), "a ready listener reserves", listener);
        }
    });
}

// A stream's address is open on a port exactly while somebody there has reserved it. The first of several streams to
// one address takes it along when it leaves.
void Invariants::CheckGroups(const RequestedTables& requested) {
    std::set<Group> reserved;
    ForEachOf<Listener>(LISTENER_VECTOR, [&](Listener& listener) {
        const Reservation& held = listener.reservation;
        if (!held.active) return;
        const Group group{listener.port, held.vid, held.destination};
        reserved.insert(group);
        Require(requested.groups.contains(group) || groupUsers[group].size() > 1, "a reserved stream is let through",
                listener);
    });
    for (const Group& group : requested.groups) {
        if (!reserved.contains(group)) Violated("only reserved streams are let through: port", group.port);
    }
}

// The limit of a port is the sum of what is reserved there. With streams of several VLANs the last change counts.
void Invariants::CheckEgress(const RequestedTables& requested) {
    std::array<uint32_t, portCount> reserved{};
    ForEachOf<Listener>(LISTENER_VECTOR, [&](Listener& listener) {
        if (listener.reservation.active) reserved[listener.port] += listener.reservation.bandwidth;
    });
    for (uint8_t port = 0; port < portCount; ++port) {
        if (operatorLimits[port] || vlansReserved[port].size() > 1) continue;
        const auto found = requested.egress.find(port);
        const uint32_t limit = found == requested.egress.end() ? 0 : static_cast<uint32_t>(found->second.limit);
        if (limit != reserved[port]) Violated("the egress limit is what is reserved: port", port);
        if (limit != 0 && !vlansReserved[port].contains(static_cast<uint16_t>(found->second.parameter))) {
            Violated("the egress limit is of the reserved VLAN: port", port);
        }
    }
}

// The members of a VLAN are the ports where it is registered.
void Invariants::CheckVlanMembers(const RequestedTables& requested) {
    size_t registered = 0;
    for (uint8_t port = 0; port < portCount; ++port) {
        mvrp.ForEach(port, [&](MRPAttribute& record) {
            if (!record.IsRegistered()) return;
            ++registered;
            Require(requested.vlans.contains({port, static_cast<Vlan&>(record).Vid()}), "a registered port is a member",
                    record);
        });
    }
    if (registered != requested.vlans.size()) Violated("members are registered", requested.vlans.size());
}

bool Invariants::FitsOnePdu() {
    constexpr size_t values = 24;  // of the longest kind; a PDU is full at 1400 bytes
    for (uint8_t port = 0; port < portCount; ++port) {
        size_t streams = 0, vlans = 0;
        msrp.ForEach(port, [&](MRPAttribute&) { ++streams; });
        mvrp.ForEach(port, [&](MRPAttribute&) { ++vlans; });
        if (std::max(streams, vlans) > values) return false;
    }
    return true;
}

void Invariants::CheckNothingIsLeft(const RequestedTables& requested) {
    for (const uint8_t type : streamTypes) {
        ForEachOf<StreamAttribute>(type, [](StreamAttribute& record) {
            Require(!record.IsRegistered() && !record.IsPropagated(), "a silent neighbour is forgotten", record);
        });
    }
    if (!requested.groups.empty()) Violated("nothing is let through any more", requested.groups.size());
    if (!requested.vlans.empty()) Violated("no VLAN has members any more", requested.vlans.size());
}

}  // namespace norvad::fuzz
