#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <span>

#include "base/timer_service.h"
#include "ptp/clocks.h"
#include "switch/proto_handler.h"

namespace norvad {

class GrandmasterOutput;
class I4DSASocket;
class I4PTP;

// gPTP (IEEE 802.1AS) on the external ports: measures the links, follows or is the grandmaster, and hands time on.
class PTPHandler final : public ProtoHandler {
public:
    // macAddress points to the 6 bytes of the switch's address, which name its clock as well. The interfaces and
    // the timer service outlive the handler. The output hears of every grandmaster.
    PTPHandler(I4PTP& clock, I4DSASocket& socket, TimerService& timers, const uint8_t* macAddress,
               const PtpSettings& settings, std::unique_ptr<GrandmasterOutput> output);
    ~PTPHandler() override;

    uint16_t GetEtherType() const override;
    void HandleFrame(std::span<const uint8_t> frame, uint16_t etherType) override;
    void PortUp(uint8_t port) override;
    void PortDown(uint8_t port) override;
    void AddControlOptions(boost::program_options::options_description& options) override;
    void HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) override;
    void HandleDaemonControlMessage() override;

private:
    struct Parts;

    void Dispatch(uint8_t port, std::span<const uint8_t> frame);
    void HandleAnnounceMessage(uint8_t port, std::span<const uint8_t> frame);

    std::unique_ptr<Parts> parts;
    std::array<ScopedTimer, 4> actions;  // the periodic ones
};

}  // namespace norvad
