#include "tests/support/system/gptp_frame.h"

#include <ctime>

namespace norvad::test {
namespace {

constexpr uint16_t etherTypePtp = 0x88F7;

Bytes Identity(const Bytes& source) {
    return Join({Part(source, 0, 3), FromHex("ff fe"), Part(source, 3, 3)});
}

Bytes Timestamp() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return Join({BigEndian(static_cast<uint64_t>(now.tv_sec), 6), BigEndian(static_cast<uint64_t>(now.tv_nsec), 4)});
}

struct Header {
    GptpMessage message;
    uint8_t flags;
    uint8_t control;
    int8_t logInterval;
};

Bytes Message(const Bytes& source, const Header& header, uint64_t sequence, const Bytes& body) {
    constexpr size_t headerLength = 34;
    return Join({
        FromHex("01 80 c2 00 00 0e"),
        source,
        BigEndian(etherTypePtp, 2),
        BigEndian(header.message, 1),
        FromHex("02"),  // version
        BigEndian(headerLength + body.size(), 2),
        FromHex("00 00"),  // domain 0
        BigEndian(header.flags, 1),
        FromHex("08"),                       // the time scale is PTP's
        FromHex("00 00 00 00 00 00 00 00"),  // correction
        FromHex("00 00 00 00"),
        Identity(source),
        FromHex("00 01"),
        BigEndian(sequence, 2),
        BigEndian(header.control, 1),
        BigEndian(static_cast<uint8_t>(header.logInterval), 1),
        body,
    });
}

constexpr Header syncHeader{gptpSync, 0x02, 0, -3};
constexpr Header followUpHeader{gptpFollowUp, 0x00, 2, -3};
constexpr Header requestHeader{pdelayReq, 0x00, 5, 0};
constexpr Header responseHeader{pdelayResp, 0x02, 5, 127};
constexpr Header responseFollowUpHeader{pdelayRespFollowUp, 0x00, 5, 127};
constexpr Header announceHeader{gptpAnnounce, 0x00, 5, 0};

Bytes Answer(const Bytes& source, const Header& header, const Bytes& request) {
    const uint64_t sequence = BigEndianAt(request, gptpSequenceAt, 2);
    return Message(source, header, sequence, Join({Timestamp(), Part(request, gptpIdentityAt, 10)}));
}

}  // namespace

bool IsGptp(const Bytes& frame, GptpMessage message) {
    return EtherType(frame) == etherTypePtp && frame.size() > payloadAt && frame[payloadAt] == message;
}

Bytes PdelayRequest(const Bytes& source, uint16_t sequence) {
    return Message(source, requestHeader, sequence, Bytes(20));
}

Bytes PdelayResponse(const Bytes& source, const Bytes& request) {
    return Answer(source, responseHeader, request);
}

Bytes PdelayResponseFollowUp(const Bytes& source, const Bytes& request) {
    return Answer(source, responseFollowUpHeader, request);
}

Bytes AnnounceOf(const Bytes& source, uint16_t sequence, uint8_t priority1) {
    return Message(source, announceHeader, sequence,
                   Join({
                       Bytes(10),
                       FromHex("00 25 00"),  // offset to UTC
                       Bytes{priority1},
                       FromHex("f8 fe 41 00 f8"),  // clock class, accuracy, variance, second priority
                       Identity(source),
                       FromHex("00 00 a0"),     // no steps from itself, an oscillator
                       FromHex("00 08 00 08"),  // path trace of one entry
                       Identity(source),
                   }));
}

Bytes SyncOf(const Bytes& source, uint16_t sequence) {
    return Message(source, syncHeader, sequence, Bytes(10));
}

Bytes FollowUpOf(const Bytes& source, uint16_t sequence) {
    return Message(source, followUpHeader, sequence,
                   Join({Timestamp(), FromHex("00 03 00 1c 00 80 c2 00 00 01"), Bytes(22)}));
}

}  // namespace norvad::test
