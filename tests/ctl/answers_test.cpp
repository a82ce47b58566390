#include "ctl/answers.h"

#include <gtest/gtest.h>

#include <string>

#include "ctl/text.h"

namespace norvad::ctl {
namespace {

const std::string talkerLine =
    "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) "
    "Applicant QA Registrar IN";
const std::string failedLine =
    "[MSRP] TalkerFailed: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0xffffffff (4294967295ns)"
    "\tBridge ID 80:00:02:54:4e:44:00:01:\tError code: Egress port is not AVB capable Applicant AA Registrar MT";
const std::string listenerLine = "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant VO Registrar LV";
const std::string statusLine =
    "ST:SLAVE:MC:0x02544efffe440005:LC:0x020000fffe000100:SR:3:PD0:-12ns:PD1:512ns:AD:-7ns:RMS:12.5:"
    "RR0:1.5e-06:RR1:-2e-07:CRR:nan:w:1";

TEST(PortsAnswer, TellsOfEveryPort) {
    const auto answer = ReadPorts(
        "Port  0  status: is Up,   STP status: Up,   AVB status: Down,\n"
        "Port  1  status: is Down\n"
        "CPU Port status: is Up,   STP status: Down, AVB status: Up,  \n");

    EXPECT_EQ(answer.notUnderstood.count, 0U);
    ASSERT_EQ(answer.ports.size(), 3U);
    EXPECT_EQ(answer.ports[0].number, 0U);
    EXPECT_TRUE(answer.ports[0].isUp && answer.ports[0].isStpUp && !answer.ports[0].isAvbUp);
    EXPECT_EQ(answer.ports[1].number, 1U);
    EXPECT_FALSE(answer.ports[1].isUp || answer.ports[1].isStpUp || answer.ports[1].isAvbUp);
    EXPECT_TRUE(answer.ports[2].IsCpu());
    EXPECT_TRUE(answer.ports[2].isUp && !answer.ports[2].isStpUp && answer.ports[2].isAvbUp);
}

TEST(StreamsAnswer, TellsOfTalkersWithTheirPort) {
    const auto answer = ReadStreams("Port 0\nPort 3\n" + talkerLine + "\n");

    ASSERT_EQ(answer.talkers.size(), 1U);
    const TalkerRecord& talker = answer.talkers[0];
    EXPECT_EQ(talker.port, 3U);
    EXPECT_EQ(IdText(talker.stream), "02:00:00:00:00:a0:00:01");
    EXPECT_EQ(AddressText(talker.destination), "91:e0:f0:00:01:00");
    EXPECT_EQ(talker.latencyNs, 42U);
    EXPECT_FALSE(talker.failure);
    EXPECT_EQ(talker.machines.applicant, "QA");
    EXPECT_EQ(talker.machines.registrar, Registrar::IN);
    EXPECT_EQ(answer.notUnderstood.count, 0U);
}

TEST(StreamsAnswer, TellsWhyAndWhereATalkerFailed) {
    const auto answer = ReadStreams("Port 1\n" + failedLine + "\n");

    ASSERT_EQ(answer.talkers.size(), 1U);
    ASSERT_TRUE(answer.talkers[0].failure);
    EXPECT_EQ(answer.talkers[0].latencyNs, 4294967295U);
    EXPECT_EQ(IdText(answer.talkers[0].failure->bridge), "80:00:02:54:4e:44:00:01");
    EXPECT_EQ(answer.talkers[0].failure->code, 8U);
    EXPECT_EQ(answer.talkers[0].failure->words, "Egress port is not AVB capable");
}

TEST(StreamsAnswer, KeepsACodeThatTheDaemonDoesNotKnow) {
    std::string line = failedLine;
    const std::string words = "Egress port is not AVB capable";
    line.replace(line.find(words), words.size(), " Unknown");

    const auto answer = ReadStreams("Port 1\n" + line);

    ASSERT_EQ(answer.talkers.size(), 1U);
    EXPECT_FALSE(answer.talkers[0].failure->code);
}

TEST(StreamsAnswer, TellsOfListenersWithTheirDeclaration) {
    const std::pair<const char*, Declaration> cases[] = {
        {"IGNORE", Declaration::IGNORE},   {"ASKING_FAILED", Declaration::ASKING_FAILED},
        {"READY", Declaration::READY},     {"READY_FAILED", Declaration::READY_FAILED},
        {"UNKNOWN", Declaration::UNKNOWN},
    };
    for (const auto& [word, declaration] : cases) {
        const auto answer = ReadStreams("Port 6\n[MSRP] Listener:0200000000a0:ff01 decl:" + std::string(word) +
                                        " Applicant LO Registrar MT\n");
        ASSERT_EQ(answer.listeners.size(), 1U) << word;
        EXPECT_EQ(answer.listeners[0].port, 6U);
        EXPECT_EQ(answer.listeners[0].stream, 0x02000000'00a0ff01U);
        EXPECT_EQ(answer.listeners[0].declaration, declaration);
        EXPECT_FALSE(answer.listeners[0].machines.IsRegistered());
    }
}

// The daemon's commands name entries by these numbers.
TEST(StreamsAnswer, NumbersEntriesOfEachKindOverAllPorts) {
    const std::string port = talkerLine + "\n" + failedLine + "\n" + listenerLine + "\n" + listenerLine + "\n";
    const auto answer = ReadStreams("Port 0\n" + port + "Port 1\n" + port);

    ASSERT_EQ(answer.talkers.size(), 4U);
    EXPECT_EQ(answer.talkers[2].number, 1U);
    EXPECT_EQ(answer.talkers[3].number, 1U);
    ASSERT_EQ(answer.listeners.size(), 4U);
    for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(answer.listeners[i].number, i);
}

TEST(DomainsAnswer, TellsClassPriorityAndVlan) {
    const auto answer = ReadDomains("Port 0\n[MSRP] Domain:6 Pri3 VLAN2 Applicant AA Registrar MT\nPort 1\n");

    ASSERT_EQ(answer.domains.size(), 1U);
    EXPECT_EQ(answer.domains[0].srClass, 6U);
    EXPECT_EQ(answer.domains[0].priority, 3U);
    EXPECT_EQ(answer.domains[0].vid, 2U);
    EXPECT_EQ(answer.notUnderstood.count, 0U);
}

TEST(VlansAnswer, TellsOfVlansUpToSixteenBits) {
    const auto answer =
        ReadVlans("Port 1\n[MVRP] Vlan:65535 Applicant VP Registrar LV\n[MVRP] Vlan:65536 Applicant VP Registrar LV\n");

    ASSERT_EQ(answer.vlans.size(), 1U);
    EXPECT_EQ(answer.vlans[0].vid, 65535U);
    EXPECT_TRUE(answer.vlans[0].machines.IsRegistered());
    EXPECT_EQ(answer.notUnderstood.count, 1U);
}

TEST(ClockAnswer, TellsEveryValue) {
    const auto answer = ReadClock(statusLine + "\n");

    ASSERT_TRUE(answer.clock);
    EXPECT_EQ(answer.clock->state, "SLAVE");
    EXPECT_EQ(answer.clock->grandmaster, 0x02544efffe440005U);
    EXPECT_EQ(answer.clock->neighbour, 0x020000fffe000100U);
    EXPECT_EQ(answer.clock->stepsRemoved, 3U);
    EXPECT_EQ(answer.clock->linkDelayNs[0], -12);
    EXPECT_EQ(answer.clock->linkDelayNs[1], 512);
    EXPECT_EQ(answer.clock->offsetNs, -7);
    EXPECT_EQ(answer.clock->rms, 12.5);
    EXPECT_EQ(answer.clock->rateRatio[0], 1.5e-06);
    EXPECT_EQ(answer.clock->rateRatio[1], -2e-07);
    EXPECT_NE(answer.clock->cumulativeRateRatio, answer.clock->cumulativeRateRatio);  // no number
    EXPECT_EQ(answer.clock->windowMode, 1);
}

TEST(Answers, TakeNothingThatIsCutOff) {
    for (const std::string& line : {talkerLine, failedLine, listenerLine}) {
        for (size_t length = 1; length < line.size(); ++length) {
            const auto answer = ReadStreams("Port 0\n" + line.substr(0, length));
            EXPECT_EQ(answer.talkers.size() + answer.listeners.size(), 0U) << line.substr(0, length);
            EXPECT_EQ(answer.notUnderstood.count, 1U) << line.substr(0, length);
        }
    }
    for (size_t length = 1; length < statusLine.size(); ++length) {
        EXPECT_FALSE(ReadClock(statusLine.substr(0, length)).clock) << statusLine.substr(0, length);
    }
}

TEST(Answers, TakeNothingWithMoreBehindIt) {
    for (const std::string& line : {talkerLine, failedLine, listenerLine}) {
        EXPECT_EQ(ReadStreams("Port 0\n" + line + " ").notUnderstood.count, 1U) << line;
    }
    EXPECT_FALSE(ReadClock(statusLine + "0x").clock);
    EXPECT_EQ(ReadPorts("Port  1  status: is Down \n").notUnderstood.count, 1U);
}

TEST(Answers, TakeNothingThatContradictsItself) {
    std::string latency = talkerLine;
    latency.replace(latency.find("42ns"), 4, "43ns");
    EXPECT_EQ(ReadStreams("Port 0\n" + latency).notUnderstood.count, 1U);
    EXPECT_EQ(ReadPorts("Port  6  status: is Down\n").notUnderstood.count, 1U);  // that is "CPU Port"
    EXPECT_EQ(ReadVlans("Port 7\n").notUnderstood.count, 1U);
}

TEST(Answers, TakeNoRecordAboveTheFirstPort) {
    EXPECT_EQ(ReadStreams(talkerLine + "\n" + listenerLine + "\n").notUnderstood.count, 2U);
}

TEST(Answers, KeepTheFirstLinesThatAreNotUnderstoodAndCountAll) {
    std::string text;
    for (size_t line = 0; line < NotUnderstood::kept + 5; ++line) text += "nonsense " + std::to_string(line) + "\n";

    const auto answer = ReadVlans(text);

    EXPECT_EQ(answer.notUnderstood.count, NotUnderstood::kept + 5);
    ASSERT_EQ(answer.notUnderstood.lines.size(), NotUnderstood::kept);
    EXPECT_EQ(answer.notUnderstood.lines[0], "nonsense 0");
}

TEST(Answers, MayBeEmpty) {
    EXPECT_EQ(ReadPorts("").notUnderstood.count, 0U);
    EXPECT_FALSE(ReadClock("").clock);
}

}  // namespace
}  // namespace norvad::ctl
