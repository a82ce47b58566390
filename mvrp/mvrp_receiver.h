#pragma once

#include "mrp/mrpdu.h"
#include "mrp/received_leave_alls.h"
#include "mvrp/mvrpdb.h"

namespace norvad {

// Reads the neighbours' MRPDUs and hands every VLAN in them to the database.
class MVRPReceiver {
public:
    explicit MVRPReceiver(MVRPDB& database) : database(database) {}

    // A PDU from its protocol version on. What cannot be understood ends it.
    void Receive(const ReceivedBytes& pdu);

private:
    // The message reaches to the end of what arrived. Both return the bytes of it that were read, and 0 where it held
    // no value.
    size_t ReadMessage(const MrpShortMessageHeader& header, const ReceivedBytes& message, ReceivedLeaveAlls& leaveAlls);
    size_t ReadVlans(const ReceivedBytes& message, ReceivedLeaveAlls& leaveAlls);

    MVRPDB& database;
};

}  // namespace norvad
