#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <tuple>
#include <vector>

#include "switch/i4_ptp.h"
#include "tests/support/fake_ports.h"

namespace norvad::test {

// A switch as gPTP sees it: the frames exactly as they were handed over for sending, the time stamps that a test put
// in, and what was done to the hardware clock. What has no stamp answers noTimestamp.
class FakePtpSwitch final : public I4PTP, public FakePorts {
public:
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
    void SetClockSteering(int32_t value) override { steering.push_back(value); }
    void SetClock(uint64_t value) override { clockSteps.push_back(value); }

    void SetAsCapable(uint8_t port, bool capable, bool peerIsSameMake) override {
        FakePorts::SetAsCapable(port, capable, peerIsSameMake);
        if (port < portCount && keepsSent) decisions.push_back({port, capable, peerIsSameMake});
    }

    bool keepsSent = true;  // off for long runs

private:
    void Send(uint8_t port, std::span<uint8_t> frame) override {
        if (keepsSent) sent.push_back({port, Copy(frame)});
        if (onSend) onSend(port, frame);
    }

    using StampKey = std::tuple<Direction, uint8_t, uint8_t, uint16_t>;

    Stamps Find(Direction direction, uint8_t port, uint8_t messageType, uint16_t sequenceId) const {
        const auto found = stamps.find({direction, port, messageType, sequenceId});
        return found == stamps.end() ? Stamps{} : found->second;
    }

    std::map<StampKey, Stamps> stamps;
};

}  // namespace norvad::test
