#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "fuzz/whole_bridge/requested_tables.h"
#include "msrp/msrp_handler.h"
#include "mvrp/mvrp_handler.h"
#include "switch/switch.h"

namespace norvad::fuzz {

// What must hold of a bridge between any two events: what is registered, declared, reserved and programmed agrees.
// What the bridge deliberately leaves as it is, until the neighbour speaks again, is told apart by the little history
// that is kept here.
class Invariants {
public:
    Invariants(Switch& bridge, MSRPHandler& msrp, MVRPHandler& mvrp) : bridge(bridge), msrp(msrp), mvrp(mvrp) {}

    // The tables hold all requests so far.
    void Check(const RequestedTables& requested);

    // All neighbours have been silent for longer than a LeaveAll takes. It reaches those values only that it has room
    // for.
    bool FitsOnePdu();
    void CheckNothingIsLeft(const RequestedTables& requested);

    // Over all checks: what they cost.
    size_t RecordsChecked() const { return recordsChecked; }

    // Egress limits of this port are set by an operator from now on.
    void ExcuseEgress(uint8_t port) { operatorLimits[port] = true; }

private:
    using PortFlags = std::array<bool, portCount>;
    using Group = RequestedTables::Group;

    template <typename Record, typename Visitor>
    void ForEachOf(uint8_t type, Visitor visit);

    void Remember();

    void CheckStreamIndex();
    void CheckDomainIndex();
    void CheckVlanIndex();
    void CheckBounds();

    void CheckSourcesAreRegistered();
    void CheckDeclarationsHaveSources();
    void CheckTalkersAreCarried();
    void CheckListenersAreJoined();
    void CheckVlansAreCarried();

    void CheckReservationsHaveReasons();
    void CheckReadyListenersReserve();
    void CheckGroups(const RequestedTables& requested);
    void CheckEgress(const RequestedTables& requested);
    void CheckVlanMembers(const RequestedTables& requested);

    Switch& bridge;
    MSRPHandler& msrp;
    MVRPHandler& mvrp;

    size_t recordsChecked = 0;
    std::set<StreamID> streamsSeen;
    std::set<uint16_t> vlansSeen;
    PortFlags closedOnce{};      // link or spanning tree kept the port out of service at some time
    PortFlags withoutAvbOnce{};  // it was not AS capable at some time
    PortFlags operatorLimits{};  // by the operator's word
    std::set<std::pair<uint8_t, StreamID>> talkersSeen;
    std::set<std::pair<uint8_t, StreamID>> echoesSeen;
    std::map<Group, std::set<StreamID>> groupUsers;
    std::array<std::set<uint16_t>, portCount> vlansReserved;
};

}  // namespace norvad::fuzz
