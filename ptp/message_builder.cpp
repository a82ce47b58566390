#include "ptp/message_builder.h"

namespace norvad {

namespace {

// What the header of a message says besides its source.
struct HeaderFields {
    PTPMessage message;
    uint16_t messageLength;
    uint8_t flags;
    uint8_t control;
    int8_t logMessageInterval;
};

constexpr HeaderFields syncFields{PTPMessage::SYNC, sizeof(SyncMessage), ptpFlagTwoStep, 0, -3};
constexpr HeaderFields followUpFields{PTPMessage::FOLLOW_UP, sizeof(FollowUpMessage), 0, 2, -3};
constexpr HeaderFields pdelayReqFields{PTPMessage::PDELAY_REQ, sizeof(PdelayReqMessage), ptpFlagTwoStep, 5, 0};
// Without the two-step flag, although a follow-up comes: neighbours in the field are used to it.
constexpr HeaderFields pdelayRespFields{PTPMessage::PDELAY_RESP, sizeof(PdelayRespMessage), 0, 5, 127};
constexpr HeaderFields pdelayRespFollowUpFields{PTPMessage::PDELAY_RESP_FOLLOW_UP, sizeof(PdelayRespFollowUpMessage), 0,
                                                5, 127};
constexpr HeaderFields announceFields{PTPMessage::ANNOUNCE, sizeof(AnnounceMessage) + sizeof(ClockIdentity), 0, 5, 0};

// The tag as it stands before the switch fills in the port.
TaggedHeader BuildEthernet(const MacAddress& source) {
    return {ptpGroupAddress, source, {ETHERTYPE_TAG, 0, 0, 0, {0xE0, 0x01}}, ETHERTYPE_PTP2};
}

PTPHeader BuildHeader(const HeaderFields& fields, const ClockIdentity& identity) {
    PTPHeader header{};
    header.firstByte = static_cast<uint8_t>(fields.message);
    header.versionPTP = ptpVersion;
    header.messageLength = fields.messageLength;
    header.domainNumber = ptpDomain;
    header.flags[0] = fields.flags;
    header.flags[1] = ptpFlagTimescale;
    header.sourcePortIdentity = {identity, 1};
    header.control = fields.control;
    header.logMessageInterval = fields.logMessageInterval;
    return header;
}

template <WireRecord Message>
Framed<Message> BuildFrame(const MacAddress& source, const HeaderFields& fields, const ClockIdentity& identity) {
    Framed<Message> frame{};
    frame.ethernet = BuildEthernet(source);
    frame.message.header = BuildHeader(fields, identity);
    return frame;
}

}  // namespace

Framed<SyncMessage> BuildSync(const MacAddress& source, const ClockIdentity& identity) {
    return BuildFrame<SyncMessage>(source, syncFields, identity);
}

Framed<FollowUpMessage> BuildFollowUp(const MacAddress& source, const ClockIdentity& identity) {
    auto frame = BuildFrame<FollowUpMessage>(source, followUpFields, identity);
    FollowUpInformation& information = frame.message.information;
    information.tlvType = ptpTlvOrganizationExtension;
    information.lengthField = sizeof(FollowUpInformation) - 4;  // what stands behind type and length
    information.organizationId[1] = 0x80;
    information.organizationId[2] = 0xC2;
    information.organizationSubType[2] = 1;
    return frame;
}

Framed<PdelayReqMessage> BuildPdelayReq(const MacAddress& source, const ClockIdentity& identity) {
    return BuildFrame<PdelayReqMessage>(source, pdelayReqFields, identity);
}

Framed<PdelayRespMessage> BuildPdelayResp(const MacAddress& source, const ClockIdentity& identity) {
    return BuildFrame<PdelayRespMessage>(source, pdelayRespFields, identity);
}

PdelayRespFollowUpSent BuildPdelayRespFollowUp(const MacAddress& source, const ClockIdentity& identity) {
    return {BuildFrame<PdelayRespFollowUpMessage>(source, pdelayRespFollowUpFields, identity), sameMakeTrailer};
}

AnnounceSent BuildAnnounce(const MacAddress& source, const ClockIdentity& identity) {
    AnnounceSent sent{BuildFrame<AnnounceMessage>(source, announceFields, identity), identity};
    sent.frame.message.timeSource = ptpTimeSourceInternalOscillator;
    sent.frame.message.tlvType = ptpTlvPathTrace;
    sent.frame.message.lengthField = sizeof(ClockIdentity);
    return sent;
}

}  // namespace norvad
