#include "ctl/views.h"

#include <gtest/gtest.h>

#include "ctl/answers.h"

namespace norvad::ctl {
namespace {

std::string Talker(const std::string& machines) {
    return "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) Applicant " +
           machines + "\n";
}

std::string Failed(const std::string& machines) {
    return "[MSRP] TalkerFailed: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns)"
           "\tBridge ID 80:00:02:54:4e:44:00:01:\tError code: Egress port is not AVB capable Applicant " +
           machines + "\n";
}

std::string Listener(const std::string& declaration, const std::string& machines) {
    return "[MSRP] Listener:0200000000a0:0001 decl:" + declaration + " Applicant " + machines + "\n";
}

std::string Streams(const std::string& answer) {
    return Render(StreamTable(GroupByStream(ReadStreams(answer))), false);
}

TEST(PortView, TellsOfAPortThatIsDownNothingElse) {
    const auto ports = ReadPorts(
                           "Port  0  status: is Up,   STP status: Up,   AVB status: Down,\n"
                           "Port  1  status: is Down\n")
                           .ports;

    EXPECT_EQ(Render(PortTable(ports), false),
              "PORT  LINK  STP  AS CAPABLE\n"
              "0     up    up   no\n"
              "1     down  -    -\n");
}

TEST(PortView, IsColouredWhereColoursAreWanted) {
    const auto ports = ReadPorts("Port  1  status: is Down\n").ports;

    EXPECT_NE(Render(PortTable(ports), true).find("\033[31mdown\033[0m"), std::string::npos);
    EXPECT_EQ(Render(PortTable(ports), false).find('\033'), std::string::npos);
}

TEST(PortView, TakesThePortToTheCpuThatIsDownForNothingBad) {
    const auto ports = ReadPorts("CPU Port status: is Down\n").ports;

    EXPECT_EQ(Render(PortTable(ports), true).find("\033[31m"), std::string::npos);
}

TEST(StreamView, ShowsAReservationWhereAReadyListenerIsCarriedToTheTalker) {
    EXPECT_EQ(Streams("Port 0\n" + Talker("VO Registrar IN") + Listener("READY", "QA Registrar MT") + "Port 1\n" +
                      Talker("QA Registrar MT") + Listener("READY", "VO Registrar IN")),
              "STREAM                   DESTINATION        LATENCY  TALKER  LISTENERS     RESERVED  "
              "STATES                               FAILURE\n"
              "02:00:00:00:00:a0:00:01  91:e0:f0:00:01:00  42 ns    port 0  port 1 ready  port 1    "
              "T0 VO/IN T1 QA/MT L0 QA/MT L1 VO/IN  -\n");
}

TEST(StreamView, ShowsWhereAndWhyAStreamFails) {
    EXPECT_EQ(Streams("Port 0\n" + Talker("VO Registrar IN") + "Port 1\n" + Failed("QA Registrar MT") +
                      Listener("ASKING_FAILED", "VO Registrar IN")),
              "STREAM                   DESTINATION        LATENCY  TALKER  LISTENERS             RESERVED  "
              "STATES                      FAILURE\n"
              "02:00:00:00:00:a0:00:01  91:e0:f0:00:01:00  42 ns    port 0  port 1 asking failed  no        "
              "T0 VO/IN F1 QA/MT L1 VO/IN  port 1: 8 Egress port is not AVB capable, bridge 80:00:02:54:4e:44:00:01\n");
}

TEST(StreamView, ShowsAStreamThatNobodyTalks) {
    EXPECT_EQ(Streams("Port 1\n" + Listener("READY", "VO Registrar IN")),
              "STREAM                   DESTINATION  LATENCY  TALKER  LISTENERS     RESERVED  STATES    FAILURE\n"
              "02:00:00:00:00:a0:00:01  -            -        -       port 1 ready  no        L1 VO/IN  -\n");
}

// What a listener held when it was ready it keeps while it asks failed, and the answers do not tell whether it was.
TEST(Reservation, IsNotKnownWhereAListenerAsksFailed) {
    const auto streams = GroupByStream(ReadStreams("Port 0\n" + Talker("VO Registrar IN") +
                                                   Listener("ASKING_FAILED", "QA Registrar MT") + "Port 1\n" +
                                                   Listener("ASKING_FAILED", "VO Registrar IN")));

    ASSERT_EQ(streams.size(), 1U);
    EXPECT_EQ(streams[0].ReservedFor(streams[0].listeners[1]), Reserved::UNKNOWN);
    EXPECT_EQ(streams[0].ReservedFor(streams[0].listeners[0]), Reserved::NO);
}

TEST(Reservation, NeedsATalkerThatIsStillRegistered) {
    const auto streams =
        GroupByStream(ReadStreams("Port 0\n" + Talker("VO Registrar MT") + Listener("READY", "QA Registrar MT") +
                                  "Port 1\n" + Listener("READY", "VO Registrar IN")));

    EXPECT_EQ(streams[0].ReservedFor(streams[0].listeners[1]), Reserved::NO);
}

TEST(VlanView, ShowsOneRowForEachVlanOnAllPorts) {
    const auto vlans = ReadVlans(
                           "Port 0\n[MVRP] Vlan:7 Applicant AA Registrar MT\n[MVRP] Vlan:2 Applicant VO "
                           "Registrar IN\nPort 1\n[MVRP] Vlan:2 Applicant QA Registrar LV\n")
                           .vlans;

    EXPECT_EQ(Render(VlanTable(vlans), false),
              "VLAN  REGISTERED      DECLARED  STATES\n"
              "2     port 0, port 1  port 1    0 VO/IN 1 QA/LV\n"
              "7     -               port 0    0 AA/MT\n");
}

TEST(DomainView, NamesTheClasses) {
    const auto domains = ReadDomains(
                             "Port 0\n[MSRP] Domain:5 Pri2 VLAN2 Applicant QA Registrar MT\n"
                             "[MSRP] Domain:6 Pri3 VLAN2 Applicant QA Registrar IN\n"
                             "[MSRP] Domain:9 Pri3 VLAN2 Applicant VO Registrar IN\n")
                             .domains;

    EXPECT_EQ(Render(DomainTable(domains), false),
              "CLASS  PRIORITY  VLAN  REGISTERED  DECLARED  STATES\n"
              "B      2         2     -           port 0    0 QA/MT\n"
              "A      3         2     port 0      port 0    0 QA/IN\n"
              "9      3         2     port 0      -         0 VO/IN\n");
}

}  // namespace
}  // namespace norvad::ctl
