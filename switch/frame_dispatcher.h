#pragma once

#include <array>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <span>
#include <string>

#include "switch/cpu_tag.h"
#include "switch/doors.h"
#include "switch/proto_handler.h"

namespace norvad {

// Hands every received frame to the protocol handler of its EtherType and tells all handlers of what happens to
// the ports. Owns the handlers and the frame socket.
class FrameDispatcher {
public:
    // Handlers that are added get the owner as their switch.
    FrameDispatcher(std::unique_ptr<FrameSocket> socket, I2Switch& owner);

    // Keeps the handler under its EtherType; where there is one already, the first stays and the second is
    // dropped. Throws SocketException when the handler's group address cannot be joined.
    void AddHandler(boost::shared_ptr<ProtoHandler> handler);

    void Start() {}  // a hook for the end of set-up

    int Descriptor() const { return socket->Descriptor(); }  // for poll

    // Receives one frame and hands it on; a frame that is too short or that nobody handles is dropped. Throws
    // SocketException when nothing could be read.
    void ReadFrame();

    // Clears, logs and returns the error that poll reports on the socket, such as ENETDOWN after the interface
    // went down; 0 without one. Until then poll returns at once, again and again.
    int TakeError();

    // Sends the frame as it stands; what the send call returns.
    ssize_t Send(const uint8_t* frame, size_t length) { return socket->write(frame, length); }

    // One line on the tag for debug logs; empty when the frame is shorter than its header.
    static std::string DescribeTag(std::span<const uint8_t> frame);

    // To every handler, in ascending order of EtherType.
    void PortUp(uint8_t port);
    void PortDown(uint8_t port);
    void PortStpUp(uint8_t port);
    void PortStpDown(uint8_t port);
    void PortAvbUp(uint8_t port);
    void PortAvbDown(uint8_t port);
    void AddControlOptions(boost::program_options::options_description& options);
    void HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer);
    void HandleDaemonControlMessage();
    void Notify(uint32_t value);

private:
    template <typename... Parameters, typename... Arguments>
    void Broadcast(void (ProtoHandler::*operation)(Parameters...), Arguments&&... arguments);

    std::unique_ptr<FrameSocket> socket;
    I2Switch& owner;
    std::array<uint8_t, receiveBufferSize> buffer{};
    std::map<uint16_t, boost::shared_ptr<ProtoHandler>> handlers;  // by EtherType
};

}  // namespace norvad
