#pragma once

#include "base/mac_address.h"
#include "mrp/mrpdu.h"
#include "msrp/msrpdb.h"

namespace norvad {

// Reads the neighbours' MRPDUs and hands every value in them to the database.
class MSRPReceiver {
public:
    // The address is the switch's own: streams that begin with it are of its host.
    MSRPReceiver(MSRPDB& database, const MacAddress& switchAddress)
        : database(database), switchAddress(switchAddress) {}

    // A PDU from its protocol version on. A message of an unknown type ends it.
    void Receive(const ReceivedBytes& pdu);

private:
    MSRPDB& database;
    const MacAddress switchAddress;
};

}  // namespace norvad
