#include "tests/support/system/gptp_peer.h"

#include <ctime>

namespace norvad::test {
namespace {

constexpr uint16_t etherTypePtp = 0x88F7;

Bytes Identity(const Bytes& source) {
    return Join({Part(source, 0, 3), FromHex("ff fe"), Part(source, 3, 3), FromHex("00 01")});
}

Bytes Timestamp() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return Join({BigEndian(static_cast<uint64_t>(now.tv_sec), 6), BigEndian(static_cast<uint64_t>(now.tv_nsec), 4)});
}

struct Header {
    GptpMessage message;
    uint8_t flags;
    int8_t logInterval;
};

Bytes Message(const Bytes& source, const Header& header, uint64_t sequence, const Bytes& time, const Bytes& requester) {
    return Join({
        FromHex("01 80 c2 00 00 0e"),
        source,
        FromHex("88 f7"),
        BigEndian(header.message, 1),
        FromHex("02 00 36 00 00"),  // version 2, 54 bytes, domain 0
        BigEndian(header.flags, 1),
        FromHex("08"),                       // the time scale is PTP's
        FromHex("00 00 00 00 00 00 00 00"),  // correction
        FromHex("00 00 00 00"),
        Identity(source),
        BigEndian(sequence, 2),
        FromHex("05"),
        BigEndian(static_cast<uint8_t>(header.logInterval), 1),
        time,
        requester,
    });
}

constexpr Header requestHeader{pdelayReq, 0x00, 0};
constexpr Header responseHeader{pdelayResp, 0x02, 127};
constexpr Header followUpHeader{pdelayRespFollowUp, 0x00, 127};

}  // namespace

bool IsGptp(const Bytes& frame, GptpMessage message) {
    return EtherType(frame) == etherTypePtp && frame.size() > payloadAt && frame[payloadAt] == message;
}

Bytes PdelayRequest(const Bytes& source, uint16_t sequence) {
    return Message(source, requestHeader, sequence, Bytes(10), Bytes(10));
}

GptpPeer::GptpPeer(const std::string& interface, Bytes address) : wire(interface), address(std::move(address)) {
    answerer = std::thread([this] { Answer(); });
}

GptpPeer::~GptpPeer() {
    stop = true;
    answerer.join();
}

void GptpPeer::Answer() {
    size_t seen = 0;
    while (!stop) {
        for (; seen < wire.Received().size(); ++seen) {
            const Bytes request = wire.Received()[seen];
            if (!IsGptp(request, pdelayReq)) continue;
            const uint64_t sequence = BigEndianAt(request, gptpSequenceAt, 2);
            const Bytes requester = Part(request, gptpIdentityAt, 10);
            (void)wire.TrySend(Message(address, responseHeader, sequence, Timestamp(), requester));
            (void)wire.TrySend(Message(address, followUpHeader, sequence, Timestamp(), requester));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

}  // namespace norvad::test
