#pragma once

#include <array>
#include <boost/endian/arithmetic.hpp>
#include <cstddef>
#include <cstdint>

#include "base/mac_address.h"
#include "base/wire.h"
#include "ptp/clocks.h"
#include "switch/cpu_tag.h"

namespace norvad {

// The IEEE 802.1AS messages as they travel, big-endian. A message starts right behind the EtherType: at byte 14
// of a frame on the wire, at byte 22 of a frame with the CPU tag (Framed, at the end).

inline constexpr MacAddress ptpGroupAddress{0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};

// The first byte of a message: transportSpecific 1 in the high nibble, the message type in the low one.
enum class PTPMessage : uint8_t {
    SYNC = 0x10,
    PDELAY_REQ = 0x12,
    PDELAY_RESP = 0x13,
    FOLLOW_UP = 0x18,
    PDELAY_RESP_FOLLOW_UP = 0x1A,
    ANNOUNCE = 0x1B,
    SIGNALING = 0x1C,
};

// The bare type, as time stamps are asked for by it.
constexpr uint8_t MessageType(PTPMessage message) {
    return static_cast<uint8_t>(message) & 0x0F;
}

// Frames of the first eight types are time-stamped by hardware.
constexpr bool IsEventType(uint8_t messageType) {
    return messageType < 8;
}

inline constexpr uint8_t ptpTransportSpecific = 1;
inline constexpr uint8_t ptpVersion = 2;
inline constexpr uint8_t ptpDomain = 0;

inline constexpr uint8_t ptpFlagTwoStep = 0x02;    // flags, first byte
inline constexpr uint8_t ptpFlagTimescale = 0x08;  // flags, second byte

inline constexpr uint16_t ptpTlvOrganizationExtension = 0x0003;
inline constexpr uint16_t ptpTlvPathTrace = 0x0008;
inline constexpr uint8_t ptpTimeSourceInternalOscillator = 0xA0;

struct PTPTimestamp {
    boost::endian::big_uint16_t secondsHigh;
    boost::endian::big_uint32_t seconds;
    boost::endian::big_uint32_t nanoseconds;
};
static_assert(sizeof(PTPTimestamp) == 10 && alignof(PTPTimestamp) == 1);

struct PortIdentity {
    ClockIdentity clockIdentity;
    boost::endian::big_uint16_t portNumber;
};
static_assert(sizeof(PortIdentity) == 10);

struct PTPHeader {
    uint8_t firstByte;  // a PTPMessage
    uint8_t versionPTP;
    boost::endian::big_uint16_t messageLength;
    uint8_t domainNumber;
    uint8_t reserved1;
    uint8_t flags[2];
    boost::endian::big_int64_t correctionField;  // ns times 65536
    boost::endian::big_uint32_t reserved2;
    PortIdentity sourcePortIdentity;
    boost::endian::big_uint16_t sequenceId;
    uint8_t control;
    int8_t logMessageInterval;
};
static_assert(sizeof(PTPHeader) == 34 && alignof(PTPHeader) == 1 && offsetof(PTPHeader, correctionField) == 8 &&
              offsetof(PTPHeader, sourcePortIdentity) == 20 && offsetof(PTPHeader, sequenceId) == 30);

struct SyncMessage {
    PTPHeader header;
    PTPTimestamp originTimestamp;  // zero: the precise time follows
};
static_assert(sizeof(SyncMessage) == 44);

// IEEE 802.1AS, 11.4.4.3
struct FollowUpInformation {
    boost::endian::big_uint16_t tlvType;
    boost::endian::big_uint16_t lengthField;
    uint8_t organizationId[3];
    uint8_t organizationSubType[3];
    boost::endian::big_int32_t cumulativeScaledRateOffset;  // rate ratio to the grandmaster minus 1, times 2^41
    boost::endian::big_uint16_t gmTimeBaseIndicator;
    uint8_t lastGmPhaseChange[12];
    boost::endian::big_int32_t scaledLastGmFreqChange;
};
static_assert(sizeof(FollowUpInformation) == 32 && offsetof(FollowUpInformation, cumulativeScaledRateOffset) == 10);

struct FollowUpMessage {
    PTPHeader header;
    PTPTimestamp preciseOriginTimestamp;
    FollowUpInformation information;
};
static_assert(sizeof(FollowUpMessage) == 76 && offsetof(FollowUpMessage, information) == 44);

struct PdelayReqMessage {
    PTPHeader header;
    PTPTimestamp originTimestamp;
    uint8_t reserved[10];
};
static_assert(sizeof(PdelayReqMessage) == 54);

struct PdelayRespMessage {
    PTPHeader header;
    PTPTimestamp requestReceiptTimestamp;
    PortIdentity requestingPortIdentity;
};
static_assert(sizeof(PdelayRespMessage) == 54);

struct PdelayRespFollowUpMessage {
    PTPHeader header;
    PTPTimestamp responseOriginTimestamp;
    PortIdentity requestingPortIdentity;
};
static_assert(sizeof(PdelayRespFollowUpMessage) == 54);

// Stands behind a Pdelay_Resp_Follow_Up, outside its messageLength, and marks the sender as a bridge of the same
// make.
using SameMakeTrailer = std::array<uint8_t, 5>;
inline constexpr SameMakeTrailer sameMakeTrailer{'O', 'R', 'L', 'A', 0};

// Up to the path trace, whose lengthField / 8 clock identities stand behind.
struct AnnounceMessage {
    PTPHeader header;
    PTPTimestamp originTimestamp;
    boost::endian::big_int16_t currentUtcOffset;
    uint8_t reserved;
    ClockDataset dataset;
    uint8_t timeSource;
    boost::endian::big_uint16_t tlvType;
    boost::endian::big_uint16_t lengthField;
};
static_assert(sizeof(AnnounceMessage) == 68 && offsetof(AnnounceMessage, dataset) == 47 &&
              offsetof(AnnounceMessage, lengthField) == 66);

// IEEE 802.1AS, 10.5.4.3, as far as it is read.
struct SignalingMessage {
    PTPHeader header;
    PortIdentity targetPortIdentity;
    boost::endian::big_uint16_t tlvType;
    boost::endian::big_uint16_t lengthField;
    uint8_t organizationId[3];
    uint8_t organizationSubType[3];
    uint8_t linkDelayInterval;  // log2 of seconds; 126: default, 127: stop
    uint8_t timeSyncInterval;
    uint8_t announceInterval;
};
static_assert(sizeof(SignalingMessage) == 57 && offsetof(SignalingMessage, tlvType) == 44 &&
              offsetof(SignalingMessage, linkDelayInterval) == 54);

// A message in a frame with the CPU tag.
template <WireRecord Message>
struct Framed {
    TaggedHeader ethernet;
    Message message;
};

// The frames that are longer than their fixed message.
struct PdelayRespFollowUpSent {
    Framed<PdelayRespFollowUpMessage> frame;
    SameMakeTrailer trailer;
};

struct AnnounceSent {
    Framed<AnnounceMessage> frame;
    ClockIdentity pathSequence;
};

static_assert(sizeof(Framed<SyncMessage>) == 66 && sizeof(Framed<FollowUpMessage>) == 98);
static_assert(sizeof(Framed<PdelayReqMessage>) == 76 && sizeof(Framed<PdelayRespMessage>) == 76);
static_assert(sizeof(PdelayRespFollowUpSent) == 81 && offsetof(PdelayRespFollowUpSent, trailer) == 76);
static_assert(sizeof(AnnounceSent) == 98 && sizeof(Framed<SignalingMessage>) == 79);

// Nanoseconds of a time stamp; the upper 16 bits of the seconds are ignored.
inline uint64_t DecodeTimestamp(const PTPTimestamp& timestamp) {
    return uint64_t{timestamp.seconds} * 1'000'000'000 + timestamp.nanoseconds;
}

// The same with the whole nanoseconds of a correctionField, which may be negative; wraps around like the stamps.
inline uint64_t DecodeTimestamp(const PTPTimestamp& timestamp, int64_t correctionField) {
    return DecodeTimestamp(timestamp) + static_cast<uint64_t>(correctionField >> 16);
}

// Only the low 32 bits of the seconds travel.
inline PTPTimestamp EncodeTimestamp(uint64_t ns) {
    return {0, static_cast<uint32_t>(ns / 1'000'000'000), static_cast<uint32_t>(ns % 1'000'000'000)};
}

}  // namespace norvad
