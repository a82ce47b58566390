#pragma once

#include <array>
#include <cstdint>

#include "mrp/mrpdu.h"
#include "msrp/msrpdb.h"

namespace norvad {

class I4DSASocket;

// Makes and sends the MRPDUs of the ports.
class MSRPTransmitter {
public:
    MSRPTransmitter(MSRPDB& database, I4DSASocket& socket) : database(database), socket(socket) {}

    // Uses the port's transmit opportunity; sends nothing when there is nothing to say.
    void Transmit(uint8_t port);

private:
    MSRPDB& database;
    I4DSASocket& socket;
    std::array<uint8_t, MRPDUWriter::bufferSize> frame{};
};

}  // namespace norvad
