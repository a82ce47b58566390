#include "ptp/ptp_handler.h"

#include <utility>

#include "base/log.h"
#include "ptp/announce.h"
#include "ptp/as_capable.h"
#include "ptp/best_master.h"
#include "ptp/grandmaster_export.h"
#include "ptp/peer_delay.h"
#include "ptp/ptp_control.h"
#include "ptp/ptp_instance.h"
#include "ptp/signaling.h"
#include "ptp/slave_clock.h"
#include "ptp/sync.h"
#include "ptp/watchdogs.h"

namespace norvad {

struct PTPHandler::Parts {
    Parts(I4PTP& clock, I4DSASocket& socket, const TimerService& timers, const MacAddress& macAddress,
          const PtpSettings& settings, std::unique_ptr<GrandmasterOutput> output)
        : output(std::move(output)), instance(clock, socket, macAddress, settings), timers(timers) {
        instance.state.OnSwitch([this] { StartAnew(); });
    }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    // What was counted and measured in one state says nothing in the next.
    void StartAnew() {
        watchdogs.StateSwitched();
        slave.StateSwitched();
        for (PTPPortData& port : instance.ports) port.StateSwitched();
    }

    std::unique_ptr<GrandmasterOutput> output;
    PTPInstance instance;
    const TimerService& timers;
    AsCapableDecision asCapable{instance.socket};
    PeerDelayInitiator initiator{instance, asCapable};
    PeerDelayResponder responder{instance, timers};
    ClockServo servo{instance.clock};
    SlaveClock slave{servo};
    Watchdogs watchdogs;
    SyncReceiver receiver{instance, slave, watchdogs, timers};
    SyncMaster master{instance};
    AnnounceSender announcer{instance};
    GrandmasterExport exporter{instance.best, instance.grandmaster, *output};
    BestMasterSelection selection{instance, watchdogs, announcer, exporter};
    SignalingReceiver signaling{instance};
    PTPControl control{instance, asCapable, announcer, servo, receiver};
};

namespace {

// Hands the frame on when it holds the whole message.
template <WireRecord Message, typename Action>
void WithMessage(std::span<const uint8_t> frame, Action action) {
    if (const auto framed = Peek<Framed<Message>>(frame)) action(*framed);
}

bool IsValid(const PTPHeader& header) {
    return header.firstByte >> 4 == ptpTransportSpecific && header.versionPTP == ptpVersion &&
           header.domainNumber == ptpDomain;
}

}  // namespace

PTPHandler::PTPHandler(I4PTP& clock, I4DSASocket& socket, TimerService& timers, const uint8_t* macAddress,
                       const PtpSettings& settings, std::unique_ptr<GrandmasterOutput> output)
    : parts(std::make_unique<Parts>(clock, socket, timers, MacAddressAt(macAddress), settings, std::move(output))),
      actions{Every(timers, 125, 5, [this](uint32_t) { parts->master.PTPSyncAction(); }),
              Every(timers, 1000, 50, [this](uint32_t) { parts->initiator.PTPPDelayAction(); }),
              Every(timers, 1000, 50, [this](uint32_t) { parts->announcer.PTPAnnounceAction(); }),
              Every(timers, 2000, 0, [this](uint32_t) { parts->selection.PTPCheckTrafficAction(); })} {
    parts->instance.state.Step(PortStateEvent::START);
}

PTPHandler::~PTPHandler() = default;

uint16_t PTPHandler::GetEtherType() const {
    return ETHERTYPE_PTP2;
}

void PTPHandler::HandleFrame(std::span<const uint8_t> frame, uint16_t) {
    const auto header = Peek<PTPHeader>(frame, taggedHeaderSize);
    const auto port = TaggedPort(frame);
    if (!header || !port || *port >= parts->instance.ports.size()) return;
    if (!IsValid(*header)) {
        log(LogCategory::PTP, 0, "[SW-PTP] Invalid PTP message on in_port %d", *port);
        return;
    }
    Dispatch(*port, frame);
}

void PTPHandler::Dispatch(uint8_t port, std::span<const uint8_t> frame) {
    const auto message = static_cast<PTPMessage>(frame[taggedHeaderSize]);
    switch (message) {
        case PTPMessage::SYNC:
            return WithMessage<SyncMessage>(frame,
                                            [&](const auto& framed) { parts->receiver.HandleSync(port, framed); });
        case PTPMessage::PDELAY_REQ:
            return WithMessage<PdelayReqMessage>(
                frame, [&](const auto& framed) { parts->responder.HandleRequest(port, framed.message); });
        case PTPMessage::PDELAY_RESP:
            return WithMessage<PdelayRespMessage>(
                frame, [&](const auto& framed) { parts->initiator.HandleResponse(port, framed.message); });
        case PTPMessage::FOLLOW_UP:
            return WithMessage<FollowUpMessage>(
                frame, [&](const auto& framed) { parts->receiver.HandleFollowUp(port, framed); });
        case PTPMessage::PDELAY_RESP_FOLLOW_UP:
            return WithMessage<PdelayRespFollowUpMessage>(
                frame, [&](const auto& framed) { parts->initiator.HandleFollowUp(port, frame, framed.message); });
        case PTPMessage::ANNOUNCE:
            return HandleAnnounceMessage(port, frame);
        case PTPMessage::SIGNALING:
            return WithMessage<SignalingMessage>(
                frame, [&](const auto& framed) { parts->signaling.HandleSignaling(port, framed.message); });
    }
    log(LogCategory::PTP, 0, "[SW-PTP] unsupported PTP message ID %d on in_port %d", MessageType(message), port);
}

void PTPHandler::HandleAnnounceMessage(uint8_t port, std::span<const uint8_t> frame) {
    const auto announce = ReadAnnounce(frame);
    if (!announce) return;
    log(LogCategory::PTP, 3, "[SW-PTP] HandleAnnounceMessage\n");
    if (!parts->instance.socket.IsStpUp(port) || parts->instance.IsOwn(announce->frame.message.header)) return;
    parts->selection.BMC(*announce);
    RelayAnnounce(parts->instance, port, *announce);
}

void PTPHandler::PortUp(uint8_t port) {
    log(LogCategory::PTP, 2, "[SW-PTP] port %d up\n", port);
}

void PTPHandler::PortDown(uint8_t port) {
    log(LogCategory::PTP, 2, "[SW-PTP] port %d down\n", port);
    if (port >= parts->instance.ports.size()) return;
    parts->asCapable.PortWentDown(port, parts->instance.ports[port]);
}

void PTPHandler::AddControlOptions(boost::program_options::options_description& options) {
    PTPControl::AddOptions(options);
}

void PTPHandler::HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) {
    parts->control.HandleOptions(values, answer);
}

void PTPHandler::HandleDaemonControlMessage() {
    log(LogCategory::PTP, 1, "[SW-PTP] HandleDaemonControlMessage");
    parts->exporter.SendGrandmasterId();
}

}  // namespace norvad
