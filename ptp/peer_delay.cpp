#include "ptp/peer_delay.h"

#include <cstddef>

#include "base/log.h"
#include "base/timer_service.h"
#include "ptp/message_builder.h"
#include "ptp/peer_delay_evaluation.h"

namespace norvad {

namespace {

constexpr uint64_t longestTurnaroundNs = 5'000'000;
constexpr size_t trailerOffset = offsetof(PdelayRespFollowUpSent, trailer);

bool CarriesSameMakeTrailer(std::span<const uint8_t> frame) {
    return Peek<SameMakeTrailer>(frame, trailerOffset) == sameMakeTrailer;
}

void ReportCorrection(uint8_t port, const PTPHeader& header) {
    if (header.correctionField == 0) return;
    log(LogCategory::PTP, 0, "[SW-PTP] Port %d PdelayRespMessage correctionField = %d\n", port,
        static_cast<int32_t>(header.correctionField >> 16));
}

}  // namespace

void PeerDelayInitiator::PTPPDelayAction() {
    log(LogCategory::PTP, 4, "[SW-PTP] PTPPDelayAction\n");
    ptp.ForEachPort([this](uint8_t port) { Evaluate(port); });
    SendRequests();
}

void PeerDelayInitiator::Evaluate(uint8_t port) {
    PTPPortData& data = ptp.ports.at(port);
    if (!ptp.socket.IsPortUp(port)) return asCapable.LinkIsDown(port, data);
    if (data.localPDelayState != PDelayState::COMPLETE) return asCapable.ExchangeMissed(port, data);
    asCapable.ExchangeCompleted(port, data);
    EvaluateExchange(port, data, ptp.windowMode);
}

void PeerDelayInitiator::SendRequests() {
    auto request = BuildPdelayReq(ptp.macAddress, ptp.local.identity);
    ptp.ForEachPort([&](uint8_t port) {
        if (!ptp.socket.IsPortUp(port)) return;
        PTPPortData& data = ptp.ports.at(port);
        ++data.pdelaySequenceId;
        data.localPDelayState = PDelayState::REQUEST_SENT;
        request.message.header.sourcePortIdentity.portNumber = port;
        request.message.header.sequenceId = data.pdelaySequenceId;
        SendFrame(ptp.socket, port, request);
        data.localPDelayReqSentTime =
            ptp.clock.GetTxTimestamp(port, MessageType(PTPMessage::PDELAY_REQ), data.pdelaySequenceId);
    });
}

void PeerDelayInitiator::HandleResponse(uint8_t port, const PdelayRespMessage& message) {
    log(LogCategory::PTP, 3, "[SW-PTP] Handle PTP_PDELAY_RESP_MESSAGE %d\n", uint16_t{message.header.sequenceId});
    if (ptp.IsOwn(message.header)) return;
    PTPPortData& data = ptp.ports.at(port);
    if (!TakeResponse(port, data, message)) data.localPDelayState = PDelayState::IDLE;
}

bool PeerDelayInitiator::TakeResponse(uint8_t port, PTPPortData& data, const PdelayRespMessage& message) {
    const uint16_t requestingPort = message.requestingPortIdentity.portNumber;
    if (message.requestingPortIdentity.clockIdentity != ptp.local.identity) {
        ReportForeignRequester(port, message.requestingPortIdentity.clockIdentity);
        return false;
    }
    if (requestingPort != port) {
        log(LogCategory::PTP, 0, "[SW-PTP] Port %d invalid pdelay resp requestingSourcePortId %d\n", port,
            requestingPort);
        return false;
    }
    if (ptp.socket.IsStpUp(port)) ptp.state.Step(PortStateEvent::NEIGHBOUR_FOUND);
    if (data.localPDelayState != PDelayState::REQUEST_SENT) return false;
    const uint16_t sequenceId = message.header.sequenceId;
    if (sequenceId != data.pdelaySequenceId) {
        log(LogCategory::PTP, 0, "[SW-PTP] Port %d invalid pdelay resp Id\n", port);
        return false;
    }
    data.localPDelayRespReceiveTime = ptp.clock.GetRxTimestamp(port, MessageType(PTPMessage::PDELAY_RESP), sequenceId);
    ReportCorrection(port, message.header);
    data.foreignPDelayReqReceiveTime = DecodeTimestamp(message.requestReceiptTimestamp);
    data.localPDelayState = PDelayState::RESPONSE_RECEIVED;
    return true;
}

void PeerDelayInitiator::HandleFollowUp(uint8_t port, std::span<const uint8_t> frame,
                                        const PdelayRespFollowUpMessage& message) {
    log(LogCategory::PTP, 3, "[SW-PTP] HandlePdelayRespFollowUpMessage %d from in_port %d\n",
        uint16_t{message.header.sequenceId}, port);
    if (ptp.IsOwn(message.header)) return;
    PTPPortData& data = ptp.ports.at(port);
    if (!TakeFollowUp(port, data, frame, message)) data.localPDelayState = PDelayState::IDLE;
}

bool PeerDelayInitiator::TakeFollowUp(uint8_t port, PTPPortData& data, std::span<const uint8_t> frame,
                                      const PdelayRespFollowUpMessage& message) {
    if (message.requestingPortIdentity.clockIdentity != ptp.local.identity) {
        log(LogCategory::PTP, 0, "[SW-PTP] invalid pdelay resp follow up ClockIdentity\n");
        return false;
    }
    if (message.requestingPortIdentity.portNumber != port) {
        log(LogCategory::PTP, 0, "[SW-PTP] invalid pdelay resp followup Id\n");
        return false;
    }
    if (data.localPDelayState != PDelayState::RESPONSE_RECEIVED) {
        log(LogCategory::PTP, 0, "[SW-PTP] Port %d HandlePdelayRespFollowUpMessage ERROR: localPDelayState = %d\n",
            port, static_cast<int32_t>(data.localPDelayState));
        return false;
    }
    if (message.header.sequenceId != data.pdelaySequenceId) {
        // The text speaks of the port although it is the sequence that is wrong; log readers know it as it is.
        log(LogCategory::PTP, 0, "[SW-PTP] Port %d invalid pdelay resp followup requestingSourcePortId %d\n", port,
            port);
        return false;
    }
    ReportCorrection(port, message.header);
    data.foreignPDelayRespSentTime = DecodeTimestamp(message.responseOriginTimestamp);
    data.localPDelayState = PDelayState::COMPLETE;
    data.peerIsSameMake = CarriesSameMakeTrailer(frame);
    return true;
}

void PeerDelayInitiator::ReportForeignRequester(uint8_t port, const ClockIdentity& requester) const {
    log(LogCategory::PTP, 0, "[SW-PTP] Port %d invalid pdelay resp ClockIdentity\n", port);
    const auto& r = requester;
    const auto& l = ptp.local.identity;
    log(LogCategory::PTP, 0, "[SW-PTP] REQ: %02x-%02x-%02x-%02x-%02x-%02x-%02x-%02x\n", r[0], r[1], r[2], r[3], r[4],
        r[5], r[6], r[7]);
    log(LogCategory::PTP, 0, "[SW-PTP] EXP: %02x-%02x-%02x-%02x-%02x-%02x-%02x-%02x\n", l[0], l[1], l[2], l[3], l[4],
        l[5], l[6], l[7]);
}

void PeerDelayResponder::HandleRequest(uint8_t port, const PdelayReqMessage& message) {
    const PTPHeader& request = message.header;
    const uint16_t sequenceId = request.sequenceId;
    log(LogCategory::PTP, 3, "[SW-PTP] Handle PTP_PDELAY_REQ_MESSAGE %d\n", sequenceId);
    if (ptp.IsOwn(request) || !ptp.socket.IsPortUp(port)) return;
    if (!allowed.at(port).Take(timers.Monotonic())) return;
    const uint64_t receiveTime = ptp.clock.GetRxTimestamp(port, MessageType(PTPMessage::PDELAY_REQ), sequenceId);
    if (receiveTime == noTimestamp) {
        log(LogCategory::PTP, 0, "[SW-PTP] invalid pdelay incoming timestamp, bail out\n");
        return;
    }
    SendResponse(port, request, receiveTime);
    const uint64_t sendTime = ptp.clock.GetTxTimestamp(port, MessageType(PTPMessage::PDELAY_RESP), sequenceId);
    // Unsigned on purpose: a missing stamp, or one from before the request, is a turnaround far too long. Without the
    // follow-up the neighbour drops the exchange.
    const uint64_t turnaround = sendTime - receiveTime;
    if (turnaround > longestTurnaroundNs) {
        log(LogCategory::PTP, 1, "[SW-PTP] delta = %lld\n", static_cast<long long>(turnaround));
        return;
    }
    SendFollowUp(port, request, sendTime);
}

void PeerDelayResponder::SendResponse(uint8_t port, const PTPHeader& request, uint64_t receiveTime) {
    auto response = BuildPdelayResp(ptp.macAddress, ptp.local.identity);
    response.message.header.sourcePortIdentity.portNumber = port;
    response.message.header.sequenceId = request.sequenceId;
    response.message.requestReceiptTimestamp = EncodeTimestamp(receiveTime);
    response.message.requestingPortIdentity = request.sourcePortIdentity;
    SendFrame(ptp.socket, port, response);
}

void PeerDelayResponder::SendFollowUp(uint8_t port, const PTPHeader& request, uint64_t sendTime) {
    auto followUp = BuildPdelayRespFollowUp(ptp.macAddress, ptp.local.identity);
    PdelayRespFollowUpMessage& message = followUp.frame.message;
    message.header.sourcePortIdentity.portNumber = port;
    message.header.sequenceId = request.sequenceId;
    message.responseOriginTimestamp = EncodeTimestamp(sendTime);
    message.requestingPortIdentity = request.sourcePortIdentity;
    SendFrame(ptp.socket, port, followUp);
}

}  // namespace norvad
