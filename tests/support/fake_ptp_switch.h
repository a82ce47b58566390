#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <tuple>
#include <vector>

#include "switch/i4_dsa_socket.h"
#include "switch/i4_ptp.h"

namespace norvad::test {

// A switch as gPTP sees it: ports whose state a test sets, the frames that were handed over for sending, the time
// stamps that a test put in, and what was done to the hardware clock. What has no stamp answers noTimestamp.
class FakePtpSwitch final : public I4PTP, public I4DSASocket {
public:
    static constexpr uint8_t portCount = 7;

    struct Port {
        bool up = false;
        bool stpUp = false;
        bool avbUp = false;
        bool peerIsSameMake = false;
    };
    struct SentFrame {
        uint8_t port;
        std::vector<uint8_t> bytes;  // exactly as long as it was handed over
    };
    struct Decision {
        uint8_t port;
        bool capable;
        bool peerIsSameMake;
        bool operator==(const Decision&) const = default;
    };
    struct Stamps {
        uint64_t first = noTimestamp;
        uint64_t second = noTimestamp;
    };
    enum class Direction : uint8_t { TRANSMIT, RECEIVE };

    std::array<Port, portCount> ports{};
    std::vector<SentFrame> sent;
    std::vector<Decision> decisions;
    std::vector<int32_t> steering;
    std::vector<uint64_t> clockSteps;

    // Called with every frame that really leaves.
    std::function<void(uint8_t port, std::span<const uint8_t> frame)> onSend;

    // Link and STP up, as a cable and the switch bring it about.
    void Raise(uint8_t port) { ports.at(port).up = ports.at(port).stpUp = true; }

    void PutStamps(Direction direction, uint8_t port, uint8_t messageType, uint16_t sequenceId, Stamps stamps) {
        this->stamps[{direction, port, messageType, sequenceId}] = stamps;
    }
    void PutStamp(Direction direction, uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t ns) {
        PutStamps(direction, port, messageType, sequenceId, {ns, ns});
    }

    uint64_t GetSyncTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) override {
        return Find(Direction::TRANSMIT, port, messageType, sequenceId).second;
    }
    uint64_t GetSyncRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) override {
        return Find(Direction::RECEIVE, port, messageType, sequenceId).second;
    }
    uint64_t GetTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) override {
        return Find(Direction::TRANSMIT, port, messageType, sequenceId).first;
    }
    uint64_t GetRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) override {
        return Find(Direction::RECEIVE, port, messageType, sequenceId).first;
    }
    void GetTxTimestamps(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                         uint64_t& second) override {
        const Stamps found = Find(Direction::TRANSMIT, port, messageType, sequenceId);
        first = found.first;
        second = found.second;
    }
    void GetRxTimestamps(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                         uint64_t& second) override {
        const Stamps found = Find(Direction::RECEIVE, port, messageType, sequenceId);
        first = found.first;
        second = found.second;
    }
    void SetClockSteering(int32_t value) override {
        steering.push_back(value);
        if (onSteer) onSteer(value);
    }
    void SetClock(uint64_t value) override {
        clockSteps.push_back(value);
        if (onClockStep) onClockStep(value);
    }

    uint8_t GetMaxPorts() const override { return portCount; }
    void write(uint8_t port, uint8_t* frame, size_t length) override {
        if (!IsPortUp(port) || !frame || length == 0) return;
        if (keepsSent) sent.push_back({port, {frame, frame + length}});
        if (onSend) onSend(port, {frame, length});
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
        if (keepsSent) decisions.push_back({port, capable, peerIsSameMake});
    }

    // For a modelled clock behind the switch.
    std::function<void(int32_t)> onSteer;
    std::function<void(uint64_t)> onClockStep;

    bool keepsSent = true;  // off for long runs

private:
    using StampKey = std::tuple<Direction, uint8_t, uint8_t, uint16_t>;

    Stamps Find(Direction direction, uint8_t port, uint8_t messageType, uint16_t sequenceId) const {
        const auto found = stamps.find({direction, port, messageType, sequenceId});
        return found == stamps.end() ? Stamps{} : found->second;
    }

    std::map<StampKey, Stamps> stamps;
};

}  // namespace norvad::test
