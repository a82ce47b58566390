#include <fcntl.h>
#include <mqueue.h>

#include <algorithm>
#include <bit>
#include <csignal>
#include <set>
#include <sstream>
#include <stdexcept>

#include "tests/support/system/control_client.h"
#include "tests/support/system/ptp4l_test.h"

namespace norvad::test {
namespace {

constexpr GptpMessage syncMessage{0x10};
constexpr GptpMessage followUpMessage{0x18};
constexpr GptpMessage announceMessage{0x1B};
constexpr size_t correctionAt = 14 + 8;  // of every message, 8 bytes
constexpr size_t stepsRemovedAt = 14 + 61;
constexpr size_t pathLengthAt = 14 + 66;
constexpr size_t pathAt = 14 + 68;

// "0x024e56fffe440003", as the daemon writes a clock identity.
std::string DaemonsText(const Bytes& identity) {
    return "0x" + ToHex(identity, "");
}

// The queue of the program that is told of every grandmaster.
class GrandmasterQueue {
public:
    GrandmasterQueue() {
        if (!queue.IsOpen()) throw std::runtime_error("no queue for grandmasters");
    }
    ~GrandmasterQueue() { MessageQueue::Remove(name); }
    GrandmasterQueue(const GrandmasterQueue&) = delete;
    GrandmasterQueue& operator=(const GrandmasterQueue&) = delete;

    struct Message {
        Bytes content;
        unsigned priority;
    };

    // The first message about that grandmaster; nothing when none comes.
    std::optional<Message> WaitFor(const Bytes& grandmaster) {
        std::optional<Message> found;
        test::WaitFor([&] {
            Message message{Bytes(272), 0};
            std::vector<char> buffer(272);
            const ssize_t length = mq_receive(queue.Descriptor(), buffer.data(), buffer.size(), &message.priority);
            if (length < 0) return false;
            message.content.assign(buffer.begin(), buffer.begin() + length);
            if (HostNumber(message.content, 0, 8) == BigEndianAt(grandmaster, 0, 8)) found = message;
            return found.has_value();
        });
        return found;
    }

    // A number in the byte order of this machine.
    static uint64_t HostNumber(const Bytes& bytes, size_t offset, size_t size) {
        Bytes turned = Part(bytes, offset, size);
        if constexpr (std::endian::native == std::endian::little) std::reverse(turned.begin(), turned.end());
        return BigEndianAt(turned, 0, size);
    }

private:
    static constexpr const char* name = "/gptp.mq";

    const MessageQueue queue = MessageQueue::Create(name, O_RDONLY | O_NONBLOCK, 0600, {10, 272});
};

class Ptp4lTime : public Ptp4lTest {
protected:
    // The first message of that kind that comes out of port 1 and passes the filter.
    std::optional<Bytes> Relayed(GptpMessage message, const Wire::Filter& filter) {
        return wires[1]->WaitForFrame([&](const Bytes& frame) { return IsGptp(frame, message) && filter(frame); });
    }

    // The message that upstream sent with that sequence number.
    std::optional<Bytes> Original(Wire& upstreamWire, GptpMessage message, uint64_t sequence) {
        return upstreamWire.WaitForFrame([&](const Bytes& frame) {
            return IsGptp(frame, message) && BigEndianAt(frame, gptpSequenceAt, 2) == sequence;
        });
    }

    // The message types of gPTP that tshark finds whole in what the daemon sent, in that capture.
    static std::set<std::string> DissectedTypes(const std::string& capture) {
        std::istringstream lines(RunCommand({"tshark", "-n", "-r", VirtualBoard::captures + capture, "-Y",
                                             "ptp && !_ws.malformed && eth.src == 02:4e:56:44:00:03", "-T", "fields",
                                             "-e", "ptp.v2.messagetype"}));
        std::set<std::string> types;
        for (std::string line; std::getline(lines, line);) types.insert(line);
        return types;
    }
};

TEST_F(Ptp4lTime, BothNeighboursAndTheBridgeCallOneAnotherAsCapable) {
    StartBetween(slaveRole, slaveRole);

    for (int port : {0, 1}) {
        SCOPED_TRACE(port);
        EXPECT_TRUE(log.WaitForText("[SW-PTP] Port " + std::to_string(port) + " IS AVB capable")) << Everything();
        const auto& peer = port == 0 ? *upstream : *downstream;
        EXPECT_TRUE(peer.WaitForValue("PORT_DATA_SET_NP", "asCapable", "1")) << Everything();
        EXPECT_TRUE(WaitFor([&] { return peer.Value("PORT_DATA_SET", "peerMeanPathDelay") != "0"; })) << Everything();
    }
}

TEST_F(Ptp4lTime, TheBridgeFollowsABetterClockAndSaysSo) {
    GrandmasterQueue queue;
    StartBetween(grandmasterRole, {}, {"-d", "PTP", "1"});

    ASSERT_TRUE(WaitForState("SLAVE")) << Everything();

    const Bytes grandmaster = upstream->Identity();
    const std::string text = DaemonsText(grandmaster);
    EXPECT_TRUE(log.WaitForPart("[SW-PTP] Found a better clock announced from ClockIdentity " + text)) << Everything();
    const auto message = queue.WaitFor(grandmaster);
    ASSERT_TRUE(message) << Everything();
    EXPECT_EQ(message->priority, 16U);
    ASSERT_EQ(message->content.size(), 272U);
    EXPECT_EQ(GrandmasterQueue::HostNumber(message->content, 8, 4), 200U);
    EXPECT_EQ(GrandmasterQueue::HostNumber(message->content, 12, 1), 0U);  // domain
    EXPECT_EQ(GrandmasterQueue::HostNumber(message->content, 14, 2), 2U);  // path: the grandmaster, the bridge
    EXPECT_EQ(GrandmasterQueue::HostNumber(message->content, 16, 8), BigEndianAt(grandmaster, 0, 8));
    EXPECT_EQ(GrandmasterQueue::HostNumber(message->content, 24, 8), BigEndianAt(bridge, 0, 8));
    const std::string file = ReadTextFile("/tmp/ptp_grandmaster");
    EXPECT_EQ(Bytes(file.begin(), file.end()), grandmaster);
    EXPECT_TRUE(WaitForAnswer({"-p"}, "ST:SLAVE:MC:" + text + ":LC:" + text + ":SR:0:PD0:")) << Everything();
}

TEST_F(Ptp4lTime, SyncFollowUpAndAnnounceAreHandedOn) {
    Wire upstreamWire("port0");
    StartBetween(grandmasterRole, slaveRole);
    ASSERT_TRUE(WaitForState("SLAVE")) << Everything();
    const Bytes bridgePort1 = Join({bridge, FromHex("00 01")});

    const auto announce =
        Relayed(announceMessage, [](const Bytes& frame) { return BigEndianAt(frame, stepsRemovedAt, 2) == 1; });
    ASSERT_TRUE(announce) << Everything();
    const auto followUp =
        Relayed(followUpMessage, [](const Bytes& frame) { return BigEndianAt(frame, correctionAt, 8) != 0; });
    ASSERT_TRUE(followUp) << Everything();
    const uint64_t sequence = BigEndianAt(*followUp, gptpSequenceAt, 2);
    const auto sync =
        Relayed(syncMessage, [&](const Bytes& frame) { return BigEndianAt(frame, gptpSequenceAt, 2) == sequence; });
    ASSERT_TRUE(sync) << Everything();

    for (const auto& frame : {*announce, *followUp, *sync}) {
        EXPECT_EQ(Part(frame, 6, 6), VirtualBoard::Address());
        EXPECT_EQ(Part(frame, gptpIdentityAt, 10), bridgePort1);
    }
    EXPECT_EQ(BigEndianAt(*announce, pathLengthAt, 2), 16U);
    EXPECT_EQ(Part(*announce, pathAt, 16), Join({upstream->Identity(), bridge}));
    const auto original = Original(upstreamWire, followUpMessage, sequence);
    ASSERT_TRUE(original) << Everything();
    EXPECT_EQ(Part(*followUp, gptpBodyTimeAt, 10), Part(*original, gptpBodyTimeAt, 10));
    const uint64_t correctionNs = BigEndianAt(*followUp, correctionAt, 8) >> 16;
    EXPECT_LT(correctionNs, 1'000'000'000U);  // what the frame spent in the bridge and on its way there
    board->Program().Signal(SIGTERM);
    ASSERT_TRUE(board->Program().WaitForExit());
    EXPECT_EQ(DissectedTypes("/port1.pcap"), (std::set<std::string>{"0x00", "0x02", "0x03", "0x08", "0x0a", "0x0b"}));
}

TEST_F(Ptp4lTime, ASlaveBehindTheBridgeMeasuresTheSameGrandmaster) {
    StartBetween(grandmasterRole, slaveRole);

    ASSERT_TRUE(downstream->WaitForGrandmaster(upstream->Identity())) << Everything();

    EXPECT_TRUE(downstream->WaitForValue("PARENT_DATA_SET", "parentPortIdentity", ClockText(bridge) + "-1"));
    EXPECT_TRUE(downstream->WaitForValue("CURRENT_DATA_SET", "stepsRemoved", "2")) << Everything();
    EXPECT_TRUE(downstream->WaitForOffsetTo(upstream->Identity(), sameTime)) << Everything();
    EXPECT_TRUE(downstream->WaitForOutput("master offset")) << Everything();
}

}  // namespace
}  // namespace norvad::test
