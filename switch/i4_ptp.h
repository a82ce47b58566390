#pragma once

#include <cstdint>

namespace norvad {

// What the time-stamp queries return when the hardware has no stamp.
inline constexpr uint64_t noTimestamp = ~uint64_t{0};

// The switch's time stamps and hardware clock as gPTP uses them. A stamp is found by port, PTP message
// type and sequence id; it is two nanosecond values, the hardware stamp first and the same instant on the
// steered clock second. noTimestamp stands for a stamp that the driver does not have.
class I4PTP {
public:
    virtual ~I4PTP() = default;

    virtual uint64_t GetSyncTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) = 0;  // second value
    virtual uint64_t GetSyncRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) = 0;  // second value
    virtual uint64_t GetTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) = 0;      // first value
    virtual uint64_t GetRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) = 0;      // first value
    virtual void GetTxTimestamps(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                                 uint64_t& second) = 0;
    virtual void GetRxTimestamps(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                                 uint64_t& second) = 0;

    // 0: no correction.
    virtual void SetClockSteering(int32_t value) = 0;

    // Steps the hardware clock by an offset in nanoseconds, two's complement; it reaches the driver unchanged.
    virtual void SetClock(uint64_t value) = 0;
};

}  // namespace norvad
