#include "ptp/peer_delay_responder.h"

#include "base/log.h"
#include "ptp/message_builder.h"

namespace norvad {

namespace {

constexpr uint64_t longestTurnaroundNs = 5'000'000;

}  // namespace

void PeerDelayResponder::HandleRequest(uint8_t port, const PdelayReqMessage& message) {
    const PTPHeader& request = message.header;
    const uint16_t sequenceId = request.sequenceId;
    log(LogCategory::PTP, 3, "[SW-PTP] Handle PTP_PDELAY_REQ_MESSAGE %d\n", sequenceId);
    if (ptp.IsOwn(request) || !ptp.socket.IsPortUp(port)) return;
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
