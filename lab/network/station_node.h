#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lab/end_station/station.h"
#include "lab/end_station/stream_frame.h"
#include "lab/network/network.h"

namespace norvad::network {

// An end station of the lab as a node with one port, number 0. It keeps what it has to tell.
class StationNode final : public Node, private station::FramePort {
public:
    StationNode(Network& network, const MacAddress& mac, const station::StationSettings& settings);

    station::Station& Program() { return *station; }
    const station::Station& Program() const { return *station; }

    // Lines told so far that hold this text.
    size_t Told(const std::string& text) const;
    // Stream frames that arrived since this was asked last, and wait for no one.
    uint64_t TakeStreamFrames();
    // See each stream frame as it is sent, and as it has arrived.
    std::function<void(const station::ReceivedStreamFrame&frame)> onSent, onReceived;

    // The lines go, for runs that are longer than memory.
    void ForgetLines() { lines = {}; }

    // Node
    void Arrive(uint8_t port, std::span<const uint8_t> frame, uint64_t beganNs) override;
    void BeginsToLeave(uint8_t, std::span<const uint8_t>) override {}
    void LinkChanged(uint8_t, bool) override {}
    void Refresh() override;

private:
    void RunDue();

    MacAddress Address() const override { return mac; }
    bool Send(std::span<const uint8_t> frame) override;
    station::Departure SendStamped(std::span<const uint8_t> frame) override;

    Network& network;
    MacAddress mac;
    std::vector<std::string> lines;
    uint64_t streamFrames = 0;
    std::unique_ptr<station::Station> station;
    uint64_t plannedNs = lab::never;  // when RunDue comes next
};

}  // namespace norvad::network
