#pragma once

#include "mrp/mrpdu.h"
#include "mvrp/mvrpdb.h"

namespace norvad {

// Reads the neighbours' MRPDUs and hands every VLAN in them to the database.
class MVRPReceiver {
public:
    explicit MVRPReceiver(MVRPDB& database) : database(database) {}

    // A PDU from its protocol version on. What cannot be understood ends it.
    void Receive(const ReceivedBytes& pdu);

private:
    bool ReadMessage(const MrpShortMessageHeader& header, const ReceivedBytes& message);
    void ReadVlans(const ReceivedBytes& message);

    MVRPDB& database;
};

}  // namespace norvad
