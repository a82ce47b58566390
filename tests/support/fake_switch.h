#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <span>
#include <string_view>
#include <tuple>
#include <vector>

#include "switch/cpu_tag.h"
#include "switch/i4_switch.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_ports.h"

namespace norvad::test {

// A switch without hardware: it keeps the tables that are programmed, and like the real one it fills in a sent frame's
// tag and source address, and pads.
class FakeSwitch final : public I4Switch, public FakePorts {
public:
    static constexpr MacAddress ownAddress = {0x02, 0x00, 0x5E, 0x10, 0x20, 0x30};

    struct BandwidthCall {
        uint8_t port;
        uint32_t trafficClass;
        uint32_t bytesPerSecond;
        bool operator==(const BandwidthCall&) const = default;
    };
    using Multicast = std::tuple<uint8_t, uint16_t, MacAddress>;  // port, VLAN id, address
    using Vlan = std::pair<uint8_t, uint16_t>;                    // port, VLAN id

    std::array<uint32_t, portCount> reserved{};  // bytes a second
    std::set<Multicast> multicasts;
    std::set<Vlan> vlans;
    std::vector<BandwidthCall> bandwidthCalls;  // real changes only, as the driver would see them
    std::vector<std::string_view> calls;        // names of the multicast calls and of SetBandwidth, as they came

    // Puts a port into service with all of its states up.
    void Raise(uint8_t port) { ports.at(port) = {true, true, true, false}; }

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
        StoreBandwidth(port, trafficClass, reserved[port] + bytesPerSecond);
    }
    void SubstractBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) override {
        if (port < portCount) StoreBandwidth(port, trafficClass, reserved[port] - bytesPerSecond);
    }
    void SetBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) override {
        calls.push_back("SetBandwidth");
        if (port >= portCount || reserved[port] == bytesPerSecond) return;
        StoreBandwidth(port, trafficClass, bytesPerSecond);
    }
    bool HasBandwidth(uint8_t port, uint32_t bytesPerSecond) const override {
        return port < portCount && uint64_t{reserved[port]} + bytesPerSecond <= 9375000;
    }
    void SetEgress(uint8_t, uint32_t) override {}
    const uint8_t* GetMacAddress() const override { return ownAddress.data(); }
    const uint8_t* GetSecondAddress() const override { return secondAddress.data(); }

private:
    void Send(uint8_t port, std::span<uint8_t> frame) override {
        Bytes bytes = Copy(frame);
        bytes.resize(std::max(bytes.size(), minimumTaggedFrame));
        std::copy(ownAddress.begin(), ownAddress.end(), bytes.begin() + 6);
        const CpuTag tag = FromCpuTag(port);
        std::copy_n(BytesOf(tag).begin(), sizeof(tag), bytes.begin() + 12);
        sent.push_back({port, std::move(bytes)});
    }
    void StoreBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) {
        reserved[port] = bytesPerSecond;
        bandwidthCalls.push_back({port, trafficClass, bytesPerSecond});
    }

    MacAddress secondAddress{};
};

}  // namespace norvad::test
