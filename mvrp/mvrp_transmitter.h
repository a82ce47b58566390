#pragma once

#include <array>
#include <cstdint>

#include "mrp/mrpdu.h"
#include "mvrp/mvrpdb.h"

namespace norvad {

class I4DSASocket;

// Makes and sends the MRPDUs of the ports.
class MVRPTransmitter {
public:
    MVRPTransmitter(MVRPDB& database, I4DSASocket& socket) : database(database), socket(socket) {}

    // Uses the port's transmit opportunity; sends nothing when there is nothing to say.
    void Transmit(uint8_t port);

private:
    MVRPDB& database;
    I4DSASocket& socket;
    std::array<uint8_t, MRPDUWriter::bufferSize> frame{};
};

}  // namespace norvad
