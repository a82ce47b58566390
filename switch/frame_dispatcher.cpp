#include "switch/frame_dispatcher.h"

#include <algorithm>
#include <boost/format.hpp>
#include <cassert>
#include <cstring>
#include <utility>

#include "base/log.h"
#include "switch/i2_switch.h"

namespace norvad {

namespace {

constexpr std::array<const char*, 4> tagTypeNames{"TO_CPU", "FROM_CPU", "TO_SNIFFER", "FORWARD"};

std::string EtherTypeName(uint16_t etherType) {
    switch (etherType) {
        case ETHERTYPE_MSRP:
            return "ETHERTYPE_MSRP";
        case ETHERTYPE_MVRP:
            return "ETHERTYPE_MVRP";
        case ETHERTYPE_PTP2:
            return "ETHERTYPE_PTP2";
        case ETHERTYPE_LLDP:
            return "ETHERTYPE_LLDP";
        default:
            return (boost::format("UNKNOWN 0x%04X") % etherType).str();
    }
}

}  // namespace

FrameDispatcher::FrameDispatcher(std::unique_ptr<FrameSocket> socket, I2Switch& owner)
    : socket(std::move(socket)), owner(owner) {}

void FrameDispatcher::AddHandler(boost::shared_ptr<ProtoHandler> handler) {
    const uint16_t etherType = handler->GetEtherType();
    if (!handlers.try_emplace(etherType, handler).second) {
        log(LogCategory::SOCKET, 0, " Handler exist for 0x%04x", etherType);
        return;
    }
    log(LogCategory::SOCKET, 3, " Handler added for 0x%04x\n", etherType);
    if (const MacAddress* group = handler->GetMulticastAddress()) socket->addMulticast(*group);
    handler->SetSwitch(owner);
}

void FrameDispatcher::ReadFrame() {
    const size_t received = socket->read(buffer.data(), buffer.size());
    const auto frame = std::span<const uint8_t>(buffer).first(std::min(received, buffer.size()));
    const auto header = Peek<TaggedHeader>(frame);
    if (!header) return;
    const auto found = handlers.find(header->etherType);
    if (found == handlers.end()) return;
    found->second->HandleFrame(frame, header->etherType);
}

int FrameDispatcher::TakeError() {
    const int error = socket->TakeError();
    if (error != 0) log(LogCategory::SOCKET, 0, "RawSocket    :socket error: %s\n", std::strerror(error));
    return error;
}

std::string FrameDispatcher::DescribeTag(std::span<const uint8_t> frame) {
    const auto header = Peek<TaggedHeader>(frame);
    if (!header) return {};
    const CpuTag& tag = header->tag;
    const unsigned first = tag.tagType;
    const unsigned second = tag.port;
    return (boost::format(" tag=%04X port=%X type=%s proto=%s TAG=%02X%02X") % tag.tagEtherType.value() %
            (second >> 3) % tagTypeNames[first >> 6] % EtherTypeName(header->etherType) % first % second)
        .str();
}

template <typename... Parameters, typename... Arguments>
void FrameDispatcher::Broadcast(void (ProtoHandler::*operation)(Parameters...), Arguments&&... arguments) {
    for (const auto& [etherType, handler] : handlers) {
        assert(handler);
        (handler.get()->*operation)(arguments...);
    }
}

void FrameDispatcher::PortUp(uint8_t port) {
    Broadcast(&ProtoHandler::PortUp, port);
}
void FrameDispatcher::PortDown(uint8_t port) {
    Broadcast(&ProtoHandler::PortDown, port);
}
void FrameDispatcher::PortStpUp(uint8_t port) {
    Broadcast(&ProtoHandler::PortStpUp, port);
}
void FrameDispatcher::PortStpDown(uint8_t port) {
    Broadcast(&ProtoHandler::PortStpDown, port);
}
void FrameDispatcher::PortAvbUp(uint8_t port) {
    Broadcast(&ProtoHandler::PortAvbUp, port);
}
void FrameDispatcher::PortAvbDown(uint8_t port) {
    Broadcast(&ProtoHandler::PortAvbDown, port);
}

void FrameDispatcher::AddControlOptions(boost::program_options::options_description& options) {
    Broadcast(&ProtoHandler::AddControlOptions, options);
}

void FrameDispatcher::HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    Broadcast(&ProtoHandler::HandleControlOptions, values, answer);
}

void FrameDispatcher::HandleDaemonControlMessage() {
    Broadcast(&ProtoHandler::HandleDaemonControlMessage);
}
void FrameDispatcher::Notify(uint32_t value) {
    Broadcast(&ProtoHandler::Notify, value);
}

}  // namespace norvad
