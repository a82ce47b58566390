#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string_view>
#include <tuple>
#include <vector>

#include "switch/cpu_tag.h"
#include "switch/i4_dsa_socket.h"
#include "switch/i4_switch.h"

namespace norvad::test {

// A switch without hardware: it keeps the state of its ports, the tables that are programmed and the frames that are
// sent. Like the real one it drops frames for ports that are down, fills in tag and source address, and pads.
class FakeSwitch final : public I4Switch, public I4DSASocket {
public:
    static constexpr uint8_t portCount = 7;
    static constexpr MacAddress ownAddress = {0x02, 0x00, 0x5E, 0x10, 0x20, 0x30};

    struct Port {
        bool up = false;
        bool stpUp = false;
        bool avbUp = false;
        bool peerIsSameMake = false;
        uint32_t reservedBandwidth = 0;
    };
    struct SentFrame {
        uint8_t port;
        std::vector<uint8_t> bytes;
    };
    struct BandwidthCall {
        uint8_t port;
        uint32_t trafficClass;
        uint32_t bytesPerSecond;
        bool operator==(const BandwidthCall&) const = default;
    };
    using Multicast = std::tuple<uint8_t, uint16_t, MacAddress>;  // port, VLAN id, address
    using Vlan = std::pair<uint8_t, uint16_t>;                    // port, VLAN id

    std::array<Port, portCount> ports{};
    std::vector<SentFrame> sent;
    std::set<Multicast> multicasts;
    std::set<Vlan> vlans;
    std::vector<BandwidthCall> bandwidthCalls;  // real changes only, as the driver would see them
    std::vector<std::string_view> calls;        // names of the multicast calls and of SetBandwidth, as they came

    // Puts a port into service with all of its states up.
    void Raise(uint8_t port) { ports.at(port) = {true, true, true, false, ports.at(port).reservedBandwidth}; }

    // The frames sent out of a port so far.
    std::vector<std::vector<uint8_t>> SentOn(uint8_t port) const {
        std::vector<std::vector<uint8_t>> frames;
        for (const SentFrame& frame : sent) {
            if (frame.port == port) frames.push_back(frame.bytes);
        }
        return frames;
    }

    void EnableVlan(uint8_t port, uint16_t vid) override {
        if (port < portCount) vlans.insert({port, vid});
    }
    void DisableVlan(uint8_t port, uint16_t vid) override { vlans.erase({port, vid}); }
    void EnableMulticast(uint8_t port, uint16_t vid, const MacAddress& address) override {
        calls.push_back("EnableMulticast");
        if (port < portCount) multicasts.insert({port, vid, address});
    }
    void DisableMulticast(uint8_t port, uint16_t vid, const MacAddress& address) override {
        calls.push_back("DisableMulticast");
        multicasts.erase({port, vid, address});
    }
    void AddBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) override {
        if (port >= portCount || !HasBandwidth(port, bytesPerSecond)) return;
        StoreBandwidth(port, trafficClass, ports[port].reservedBandwidth + bytesPerSecond);
    }
    void SubstractBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) override {
        if (port < portCount) StoreBandwidth(port, trafficClass, ports[port].reservedBandwidth - bytesPerSecond);
    }
    void SetBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) override {
        calls.push_back("SetBandwidth");
        if (port >= portCount || ports[port].reservedBandwidth == bytesPerSecond) return;
        StoreBandwidth(port, trafficClass, bytesPerSecond);
    }
    bool HasBandwidth(uint8_t port, uint32_t bytesPerSecond) const override {
        return port < portCount && uint64_t{ports[port].reservedBandwidth} + bytesPerSecond <= 9375000;
    }
    void SetEgress(uint8_t, uint32_t) override {}
    const uint8_t* GetMacAddress() const override { return ownAddress.data(); }
    const uint8_t* GetSecondAddress() const override { return secondAddress.data(); }

    uint8_t GetMaxPorts() const override { return portCount; }
    void write(uint8_t port, uint8_t* frame, size_t length) override {
        if (!IsPortUp(port) || !frame || length == 0) return;
        std::vector<uint8_t> bytes(frame, frame + length);
        bytes.resize(std::max(length, minimumTaggedFrame));
        std::copy(ownAddress.begin(), ownAddress.end(), bytes.begin() + 6);
        const CpuTag tag = FromCpuTag(port);
        std::copy_n(BytesOf(tag).begin(), sizeof(tag), bytes.begin() + 12);
        sent.push_back({port, std::move(bytes)});
    }
    void writeAllPorts(uint8_t exceptPort, uint8_t* frame, size_t length) override {
        for (uint8_t port = 0; port < portCount; ++port) {
            if (port != exceptPort) write(port, frame, length);
        }
    }
    bool IsPortUp(uint8_t port) const override { return port < portCount && ports[port].up; }
    bool IsStpUp(uint8_t port) const override { return port < portCount && ports[port].stpUp; }
    bool IsAvbUp(uint8_t port) const override { return port < portCount && ports[port].avbUp; }
    bool GetPeerIsSameMake(uint8_t port) const override { return port < portCount && ports[port].peerIsSameMake; }
    void SetAsCapable(uint8_t port, bool capable, bool peerIsSameMake) override {
        if (port >= portCount) return;
        ports[port].avbUp = capable;
        ports[port].peerIsSameMake = peerIsSameMake;
    }

private:
    void StoreBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) {
        ports[port].reservedBandwidth = bytesPerSecond;
        bandwidthCalls.push_back({port, trafficClass, bytesPerSecond});
    }

    MacAddress secondAddress{};
};

}  // namespace norvad::test
