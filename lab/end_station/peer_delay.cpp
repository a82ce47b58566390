#include "lab/end_station/peer_delay.h"

#include <fmt/format.h>

#include <utility>

#include "base/ethertypes.h"
#include "lab/common/time.h"

namespace norvad::station {

using namespace lab;

namespace {

constexpr uint8_t controlOther = 5;
constexpr int8_t intervalNone = 0x7F;

bool IsGptp(const PTPHeader& header) {
    return header.firstByte >> 4 == ptpTransportSpecific && (header.versionPTP & 0x0F) == ptpVersion &&
           header.domainNumber == ptpDomain;
}

template <WireRecord Message>
ControlFrame Framed(const FramePort& port, const Message& message) {
    return {ptpGroupAddress, port.Address(), ETHERTYPE_PTP2, BytesOf(message)};
}

}  // namespace

PeerDelay::PeerDelay(const PeerDelaySettings& settings, const Clock& clock, FramePort& port, EventLog log)
    : settings(settings),
      clock(clock),
      port(port),
      log(std::move(log)),
      identity{ClockIdentityOf(port.Address()), 1},
      requestDueNs(settings.measure ? NowNs(clock) : never) {}

void PeerDelay::Receive(const ReceivedFrame& frame) {
    const auto message = frame.bytes.subspan(sizeof(EthernetHeader));
    const auto header = Peek<PTPHeader>(message);
    if (!header || !IsGptp(*header)) return;

    if (header->firstByte == static_cast<uint8_t>(PTPMessage::PDELAY_REQ)) {
        if (Peek<PdelayReqMessage>(message) && settings.answer) Answer(*header, frame.receiveTimeNs);
    } else if (header->firstByte == static_cast<uint8_t>(PTPMessage::PDELAY_RESP)) {
        if (const auto response = Peek<PdelayRespMessage>(message)) TakeResponse(*response, frame.receiveTimeNs);
    } else if (header->firstByte == static_cast<uint8_t>(PTPMessage::PDELAY_RESP_FOLLOW_UP)) {
        if (const auto followUp = Peek<PdelayRespFollowUpMessage>(message)) TakeFollowUp(*followUp);
    }
}

void PeerDelay::RunDue() {
    if (NowNs(clock) < requestDueNs) return;
    requestDueNs = NowNs(clock) + requestIntervalNs;
    PdelayReqMessage request{};
    request.header = HeaderOf(PTPMessage::PDELAY_REQ, ++sequenceId);
    request.header.logMessageInterval = 0;
    t2.reset();
    t1 = SendStamped(request);
}

void PeerDelay::Answer(const PTPHeader& request, std::optional<uint64_t> receiveTimeNs) {
    if (request.sourcePortIdentity.clockIdentity == identity.clockIdentity) return;
    if (!receiveTimeNs) return TellMissingStamp("receive", request);
    PdelayRespMessage response{};
    response.header = HeaderOf(PTPMessage::PDELAY_RESP, request.sequenceId);
    response.header.flags[0] = ptpFlagTwoStep;
    response.requestReceiptTimestamp = EncodeTimestamp(*receiveTimeNs);
    response.requestingPortIdentity = request.sourcePortIdentity;
    const auto sentNs = SendStamped(response);
    if (!sentNs) return;

    PdelayRespFollowUpMessage followUp{};
    followUp.header = HeaderOf(PTPMessage::PDELAY_RESP_FOLLOW_UP, request.sequenceId);
    followUp.responseOriginTimestamp = EncodeTimestamp(*sentNs);
    followUp.requestingPortIdentity = request.sourcePortIdentity;
    if (!port.Send(Framed(port, followUp).Bytes()) || hasAnswered) return;
    hasAnswered = true;
    log("peer delay answered");
}

void PeerDelay::TakeResponse(const PdelayRespMessage& response, std::optional<uint64_t> receiveTimeNs) {
    if (!AnswersOurRequest(response.header, response.requestingPortIdentity)) return;
    if (!receiveTimeNs) return TellMissingStamp("receive", response.header);
    t2 = DecodeTimestamp(response.requestReceiptTimestamp, response.header.correctionField);
    t4 = *receiveTimeNs;
}

void PeerDelay::TakeFollowUp(const PdelayRespFollowUpMessage& followUp) {
    if (!AnswersOurRequest(followUp.header, followUp.requestingPortIdentity) || !t2) return;
    const uint64_t t3 = DecodeTimestamp(followUp.responseOriginTimestamp, followUp.header.correctionField);
    const auto twoWays = static_cast<int64_t>((t4 - *t1) - (t3 - *t2));  // wraps where the clocks disagree
    t1.reset();
    log(fmt::format("link delay {} ns", twoWays / 2));
}

template <typename Message>
std::optional<uint64_t> PeerDelay::SendStamped(const Message& message) {
    const auto departure = port.SendStamped(Framed(port, message).Bytes());
    if (departure.isAccepted && !departure.timeNs) TellMissingStamp("transmit", message.header);
    return departure.timeNs;
}

// The exchange ends here: a time that this process reads itself would be wrong by as much as it was held up.
void PeerDelay::TellMissingStamp(const char* direction, const PTPHeader& header) {
    log(fmt::format("no {} stamp type {} sequence {}", direction, header.firstByte & 0x0F, header.sequenceId.value()));
}

bool PeerDelay::AnswersOurRequest(const PTPHeader& header, const PortIdentity& requester) const {
    return t1 && header.sequenceId == sequenceId && requester.clockIdentity == identity.clockIdentity &&
           requester.portNumber == identity.portNumber;
}

PTPHeader PeerDelay::HeaderOf(PTPMessage message, uint16_t sequence) const {
    PTPHeader header{};
    header.firstByte = static_cast<uint8_t>(message);
    header.versionPTP = ptpVersion;
    header.messageLength = sizeof(PdelayRespMessage);  // all three are of one length
    header.flags[1] = ptpFlagTimescale;
    header.sourcePortIdentity = identity;
    header.sequenceId = sequence;
    header.control = controlOther;
    header.logMessageInterval = intervalNone;
    return header;
}

}  // namespace norvad::station
