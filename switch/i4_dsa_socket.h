#pragma once

#include <cstddef>
#include <cstdint>

namespace norvad {

// Frame output and the state of the ports. Every query of a port beyond the records answers 0.
class I4DSASocket {
public:
    virtual ~I4DSASocket() = default;

    virtual uint8_t GetMaxPorts() const = 0;  // 7: port numbers 0..6

    // Sends length bytes at frame out of one port. The caller leaves 20 bytes in front: the destination in
    // bytes 0..5, room for source address and tag in the rest. Shorter frames are zero-filled to 68 bytes, so
    // the buffer holds at least that many. A port that is down or absent sends nothing.
    virtual void write(uint8_t port, uint8_t* frame, size_t length) = 0;

    // The same frame out of every port but exceptPort, in ascending order.
    virtual void writeAllPorts(uint8_t exceptPort, uint8_t* frame, size_t length) = 0;

    virtual bool IsPortUp(uint8_t port) const = 0;
    virtual bool IsStpUp(uint8_t port) const = 0;
    virtual bool IsAvbUp(uint8_t port) const = 0;
    virtual bool GetPeerIsSameMake(uint8_t port) const = 0;

    // gPTP's decision about the port's neighbour. A change of capable is broadcast to every handler.
    virtual void SetAsCapable(uint8_t port, bool capable, bool peerIsSameMake) = 0;
};

}  // namespace norvad
