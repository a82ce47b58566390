#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "base/mac_address.h"

namespace norvad {

// The doors through which the switch model meets the world outside. Each stands as near to the kernel as it
// can, so that layouts and addresses are under test with a fake behind the door. The real ones throw
// SocketException where they cannot be opened.

// Tagged frames to and from the switch.
class FrameSocket {
public:
    virtual ~FrameSocket() = default;
    virtual int Descriptor() const = 0;              // for poll
    virtual void waitForInterface() = 0;             // returns when the link of the interface runs
    virtual MacAddress HardwareAddress() const = 0;  // the interface's own
    virtual void addMulticast(const MacAddress& address) = 0;
    virtual ssize_t write(const uint8_t* frame, size_t length) = 0;  // what the send call returns
    virtual size_t read(uint8_t* buffer, size_t capacity) = 0;       // one frame; throws when there is none
    virtual int TakeError() = 0;  // the pending error that poll reports, cleared by asking; 0 without one
};

// Private requests of the switch driver.
class DriverSocket {
public:
    virtual ~DriverSocket() = default;
    virtual MacAddress HardwareAddress() const = 0;  // of the switch's network interface
    // Hands a block with a command record (driver_records.h) to the driver, which may fill in its results; false on
    // failure.
    virtual bool Request(std::span<uint8_t> block) = 0;
};

// Route netlink messages about links.
class LinkSocket {
public:
    virtual ~LinkSocket() = default;
    virtual int Descriptor() const = 0;                          // for poll; -1 without a socket
    virtual uint32_t PortId() const = 0;                         // what the socket's messages carry as their sender
    virtual ssize_t Send(std::span<const uint8_t> message) = 0;  // to the kernel
    virtual ssize_t Receive(std::span<uint8_t> datagram) = 0;    // does not wait; -1 with errno set
    virtual int TakeError() = 0;  // the pending error that poll reports, cleared by asking; 0 without one
};

// The control request queue "/norvad.mq".
class RequestQueue {
public:
    virtual ~RequestQueue() = default;
    virtual int Descriptor() const = 0;                       // for poll; -1 without a queue
    virtual ssize_t Receive(std::span<uint8_t> message) = 0;  // one message; -1 with errno set
};

// Opens the doors in the order in which the switch asks for them.
class SwitchDoors {
public:
    virtual ~SwitchDoors() = default;
    virtual std::unique_ptr<DriverSocket> OpenDriver(const std::string& interfaceName, uint16_t protocol) = 0;
    virtual std::unique_ptr<FrameSocket> OpenFrames(const std::string& interfaceName, uint16_t protocol) = 0;
    virtual std::unique_ptr<LinkSocket> OpenLinks() = 0;
    virtual std::unique_ptr<RequestQueue> OpenRequests() = 0;
};

}  // namespace norvad
