// How long a Sync stays in the bridge and how long a peer delay response takes, from wire to wire, of the daemon on the
// virtual switch and, in turns with it, of ptp4l as a transparent clock on plain interfaces.

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "base/ethertypes.h"
#include "base/wire.h"
#include "bench/samples.h"
#include "bench/transparent_clock.h"
#include "bench/whole_bridge.h"
#include "ptp/message_builder.h"
#include "tests/support/system/gptp_peer.h"
#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"

namespace norvad::bench {

namespace {

using namespace test;
using std::chrono::milliseconds;

constexpr uint8_t syncMessage = 0x10;  // first byte
constexpr auto syncInterval = milliseconds(125);

// The frame that a builder made for the switch, as it looks on a wire.
template <WireRecord Frame>
Bytes Plain(const Frame& tagged) {
    const auto bytes = BytesOf(tagged);
    Bytes frame(bytes.begin(), bytes.end());
    frame.erase(frame.begin() + etherTypeAt, frame.begin() + etherTypeAt + sizeof(CpuTag));
    std::copy(stations[0].begin(), stations[0].end(), frame.begin() + 6);
    return frame;
}

MacAddress StationAddress() {
    MacAddress address{};
    std::copy(stations[0].begin(), stations[0].end(), address.begin());
    return address;
}

ClockIdentity StationIdentity() {
    const MacAddress mac = StationAddress();
    return {mac[0], mac[1], mac[2], 0xFF, 0xFE, mac[3], mac[4], mac[5]};
}

// A device with two ports under measurement, between stations that answer its peer delay requests. The station at its
// port 0 is the grandmaster.
class Relay {
public:
    Relay(std::string name, const Port& upstream, const Port& downstream)
        : name(std::move(name)), upstream(upstream), downstream(downstream) {}

    void Announce() {
        auto announce = BuildAnnounce(StationAddress(), StationIdentity());
        AnnounceMessage& message = announce.frame.message;
        message.header.sourcePortIdentity.portNumber = 1;
        message.header.sequenceId = sequence;
        message.header.logMessageInterval = 0;
        message.dataset = {1, 248, 0xFE, 0x4100, 248, StationIdentity(), 0};
        message.lengthField = sizeof(ClockIdentity);
        announce.pathSequence = StationIdentity();
        upstream.Send(Plain(announce));
    }

    // False when the Sync does not come out of the other port in time.
    bool Sync(milliseconds patience) {
        ++sequence;
        auto sync = BuildSync(StationAddress(), StationIdentity());
        sync.message.header.sourcePortIdentity.portNumber = 1;
        sync.message.header.sequenceId = sequence;
        sync.message.header.logMessageInterval = -3;
        const auto begin = Clock::now();
        upstream.Send(Plain(sync));
        const auto relayed = downstream.WaitFor(
            [&](const Bytes& frame) {
                return EtherType(frame) == ETHERTYPE_PTP2 && frame[payloadAt] == syncMessage &&
                       BigEndianAt(frame, gptpSequenceAt, 2) == sequence;
            },
            patience);
        FollowUp(begin);
        if (relayed) residence.Add(Milliseconds(relayed->time - begin).count());
        return relayed != nullptr;
    }

    void PeerDelay() {
        ++request;
        const auto begin = Clock::now();
        upstream.Send(PdelayRequest(stations[0], request));
        const auto response = upstream.Await([&](const Bytes& frame) {
            return IsGptp(frame, pdelayResp) && BigEndianAt(frame, gptpSequenceAt, 2) == request &&
                   Part(frame, gptpRequesterAt, 6) == Part(PdelayRequest(stations[0], 0), gptpIdentityAt, 6);
        });
        turnaround.Add(Milliseconds(response.time - begin).count());
    }

    void Forget() {
        residence = {};
        turnaround = {};
    }

    const std::string name;
    Samples residence;
    Samples turnaround;

private:
    void FollowUp(Clock::time_point sent) {
        const auto ns = static_cast<uint64_t>(sent.time_since_epoch() / std::chrono::nanoseconds(1));
        auto followUp = BuildFollowUp(StationAddress(), StationIdentity());
        followUp.message.header.sourcePortIdentity.portNumber = 1;
        followUp.message.header.sequenceId = sequence;
        followUp.message.header.logMessageInterval = -3;
        followUp.message.preciseOriginTimestamp = {0, static_cast<uint32_t>(ns / 1'000'000'000),
                                                   static_cast<uint32_t>(ns % 1'000'000'000)};
        upstream.Send(Plain(followUp));
    }

    const Port& upstream;
    const Port& downstream;
    uint16_t sequence = 40'000;  // far from those of a bridge that takes itself for the grandmaster at first
    uint16_t request = 0;
};

void AwaitFirstSync(Relay& relay, const std::function<std::string()>& log) {
    for (int tries = 0; tries < 240; ++tries) {
        if (tries % 8 == 0) relay.Announce();
        if (relay.Sync(syncInterval)) return;
    }
    Fail(relay.name + " relays no Sync\n" + log());
}

void PrintRatio(const char* what, const Samples& ours, const Samples& theirs) {
    std::printf("%-44s median %.2f, p99 %.2f\n", what, ours.Quantile(0.5) / theirs.Quantile(0.5),
                ours.Quantile(0.99) / theirs.Quantile(0.99));
}

void MeasureAll(int rounds, int restSeconds) {
    const Bridge bridge;
    for (const char* n : {"0", "1"}) LayCable(std::string("tc") + n, std::string("far") + n);
    const Port far0("far0"), far1("far1");
    const GptpPeer peer0("far0", stations[0]), peer1("far1", stations[1]);
    const TransparentClock ptp4l("tc0", "tc1");

    std::this_thread::sleep_for(std::chrono::seconds(5));
    const Usage daemonUsage("daemon, grandmaster of two ports", bridge.daemon),
        ptp4lUsage("ptp4l, no Sync to relay", ptp4l.program.Id());
    std::this_thread::sleep_for(std::chrono::seconds(restSeconds));
    for (const Usage* usage : {&daemonUsage, &ptp4lUsage}) {
        usage->PrintProcessor();
        usage->PrintMemory();
    }

    Relay relays[] = {{"daemon", *bridge.ports[0], *bridge.ports[1]}, {"ptp4l", far0, far1}};
    for (Relay& relay : relays) {
        AwaitFirstSync(relay, [&] { return ptp4l.program.Output() + ptp4l.program.Errors(); });
        relay.Forget();
    }
    for (int round = 0; round < rounds; ++round) {
        for (Relay& relay : relays) {
            if (round % 8 == 0) relay.Announce();
            if (!relay.Sync(std::chrono::seconds(1))) Fail(relay.name + " lost a Sync");
        }
        std::this_thread::sleep_for(syncInterval / 2);
        for (Relay& relay : relays) relay.PeerDelay();
        std::this_thread::sleep_for(syncInterval / 2);
    }
    for (const Relay& relay : relays) {
        relay.residence.Print((relay.name + ", Sync from port 0 to port 1").c_str(), "ms");
        relay.turnaround.Print((relay.name + ", peer delay response").c_str(), "ms");
    }
    PrintRatio("Sync, daemon / ptp4l", relays[0].residence, relays[1].residence);
    PrintRatio("peer delay response, daemon / ptp4l", relays[0].turnaround, relays[1].turnaround);
}

}  // namespace

}  // namespace norvad::bench

int main() {
    norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    setvbuf(stdout, nullptr, _IOLBF, 0);
    norvad::bench::MeasureAll(400, 30);
    return 0;
}
