#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/timer_service.h"
#include "switch/bandwidth_accounts.h"
#include "switch/doors.h"
#include "switch/frame_dispatcher.h"
#include "switch/i2_switch.h"
#include "switch/i4_dsa_socket.h"
#include "switch/i4_ptp.h"
#include "switch/i4_switch.h"
#include "switch/link_monitor.h"
#include "switch/membership_table.h"
#include "switch/port_record.h"
#include "switch/ports.h"
#include "switch/switch_ioctl.h"

namespace norvad {

// The model of the hardware switch and the one object that the protocol handlers talk to: the ports and their
// state, the memberships that the driver was told of, frame output, time stamps and the hardware clock.
class Switch final : public I4Switch, public I4PTP, public I4DSASocket, public I2Switch {
public:
    // Opens the doors (driver, frames, links, requests), waits until the link of the interface runs and seeds
    // the timers' randomness. Throws SocketException where driver or frame socket cannot be set up. The clock must
    // outlive the switch.
    Switch(const std::string& interfaceName, Clock& clock, SwitchDoors& doors);

    // For the event loop and the run function.
    TimerService& Timers() { return timers; }
    SwitchIoctl& Driver() { return driver; }
    FrameDispatcher& Dispatcher() { return dispatcher; }
    RequestQueue& Requests() { return *controlQueue; }
    int LinkDescriptor() const { return links->Descriptor(); }

    // Reads one link message and tells the handlers of what changed: every link change first, port by port,
    // then every STP change.
    void UpdateLinks();

    // Clears, logs and returns the error that poll reports on the link descriptor; 0 without one.
    int TakeLinkError() { return links->TakeError(); }

    // I4Switch, and with it I2Switch's GetMacAddress
    void EnableVlan(uint8_t port, uint16_t vid) override;
    void DisableVlan(uint8_t port, uint16_t vid) override;
    void EnableMulticast(uint8_t port, uint16_t vid, const MacAddress& address) override;
    void DisableMulticast(uint8_t port, uint16_t vid, const MacAddress& address) override;
    void AddBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) override;
    void SubstractBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) override;
    void SetBandwidth(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) override;
    bool HasBandwidth(uint8_t port, uint32_t bytesPerSecond) const override;
    void SetEgress(uint8_t port, uint32_t bitsPerSecond) override;
    const uint8_t* GetMacAddress() const override { return macAddress.data(); }
    const uint8_t* GetSecondAddress() const override { return secondAddress.data(); }

    // I4PTP
    uint64_t GetSyncTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) override;
    uint64_t GetSyncRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) override;
    uint64_t GetTxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) override;
    uint64_t GetRxTimestamp(uint8_t port, uint8_t messageType, uint16_t sequenceId) override;
    void GetTxTimestamps(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                         uint64_t& second) override;
    void GetRxTimestamps(uint8_t port, uint8_t messageType, uint16_t sequenceId, uint64_t& first,
                         uint64_t& second) override;
    void SetClockSteering(int32_t value) override;
    void SetClock(uint64_t value) override;

    // I4DSASocket
    uint8_t GetMaxPorts() const override { return portCount; }
    void write(uint8_t port, uint8_t* frame, size_t length) override;
    void writeAllPorts(uint8_t exceptPort, uint8_t* frame, size_t length) override;
    bool IsPortUp(uint8_t port) const override;
    bool IsStpUp(uint8_t port) const override;
    bool IsAvbUp(uint8_t port) const override;
    bool GetPeerIsSameMake(uint8_t port) const override;
    void SetAsCapable(uint8_t port, bool capable, bool peerIsSameMake) override;

    // I2Switch
    void FrameSocketEvent() override {}

private:
    std::unique_ptr<FrameSocket> OpenFrames(SwitchDoors& doors);
    void UpdateLink(uint8_t port);
    void UpdateStp(uint8_t port);
    void SeedRandom(const Clock& clock);

    // Destroyed from the end: the handlers go first, as they still cancel timers and may send; then the link
    // monitor, the queue and the timers.
    TimerService timers;
    SwitchIoctl driver;
    std::string interfaceName;
    uint16_t tagEtherType;
    MacAddress macAddress{};
    MacAddress secondAddress{};
    PortRecords ports;
    MembershipTable<VlanEntry> vlanTable;
    MembershipTable<MulticastEntry> multicastTable;
    BandwidthAccounts bandwidth;
    std::unique_ptr<RequestQueue> controlQueue;
    std::unique_ptr<LinkMonitor> links;
    FrameDispatcher dispatcher;
};

}  // namespace norvad
