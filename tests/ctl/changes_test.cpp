#include "ctl/changes.h"

#include <gtest/gtest.h>

namespace norvad::ctl {
namespace {

constexpr const char* in = "VO Registrar IN";        // the neighbour declares it
constexpr const char* leaving = "VO Registrar LV";   // and still does, until it says no more
constexpr const char* declared = "QA Registrar MT";  // this bridge declares it
constexpr const char* idle = "VO Registrar MT";

std::string Talker(const std::string& machines, const std::string& id = "a0:00:01") {
    return "[MSRP] Talker: 02:00:00:00:00:" + id + ": MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) Applicant " +
           machines + "\n";
}

std::string Failed(const std::string& machines, const std::string& words = "Egress port is not AVB capable",
                   const std::string& bridge = "01") {
    return "[MSRP] TalkerFailed: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns)"
           "\tBridge ID 80:00:02:54:4e:44:00:" +
           bridge + ":\tError code: " + words + " Applicant " + machines + "\n";
}

std::string Listener(const std::string& declaration, const std::string& machines) {
    return "[MSRP] Listener:0200000000a0:0001 decl:" + declaration + " Applicant " + machines + "\n";
}

std::string Status(const std::string& state, const std::string& grandmaster = "02544efffe440005") {
    return "ST:" + state + ":MC:0x" + grandmaster +
           ":LC:0x020000fffe000100:SR:1:PD0:0ns:PD1:0ns:AD:0ns:RMS:0:RR0:0:RR1:0:CRR:0:w:0\n";
}

Snapshot WithPorts(const std::string& answer) {
    return {.ports = ReadPorts(answer).ports, .streams = {}, .vlans = {}, .domains = {}, .clock = {}};
}
Snapshot WithStreams(const std::string& port0, const std::string& port1) {
    const auto streams = GroupByStream(ReadStreams("Port 0\n" + port0 + "Port 1\n" + port1));
    return {.ports = {}, .streams = streams, .vlans = {}, .domains = {}, .clock = {}};
}
Snapshot WithVlans(const std::string& answer) {
    return {.ports = {}, .streams = {}, .vlans = ReadVlans(answer).vlans, .domains = {}, .clock = {}};
}
Snapshot WithClock(const std::string& answer) {
    return {.ports = {}, .streams = {}, .vlans = {}, .domains = {}, .clock = ReadClock(answer).clock};
}

// The kind and the text of each change, a line for each.
std::string Between(const Snapshot& before, const Snapshot& after) {
    std::string lines;
    for (const Change& change : Changes(before, after)) {
        lines += std::string(Name(change.kind)) + " | " + change.text + "\n";
    }
    return lines;
}

const std::string id = "02:00:00:00:00:a0:00:01";

TEST(PortChanges, AreLinkAndAsCapability) {
    const Snapshot up = WithPorts("Port  1  status: is Up,   STP status: Up,   AVB status: Up,  \n");
    const Snapshot plain = WithPorts("Port  1  status: is Up,   STP status: Down, AVB status: Down,\n");
    const Snapshot down = WithPorts("Port  1  status: is Down\n");

    EXPECT_EQ(Between(down, plain), "link-up | port 1: link up\n");
    EXPECT_EQ(Between(plain, up), "as-capable | port 1: AS capable\n");
    EXPECT_EQ(Between(up, plain), "not-as-capable | port 1: not AS capable\n");
    EXPECT_EQ(Between(up, down), "link-down | port 1: link down\nnot-as-capable | port 1: not AS capable\n");
    EXPECT_EQ(Between(up, up), "");
}

TEST(PortChanges, CallThePortToTheCpuByItsName) {
    EXPECT_EQ(Between(WithPorts("CPU Port status: is Down\n"),
                      WithPorts("CPU Port status: is Up,   STP status: Up,   AVB status: Down,\n")),
              "link-up | CPU port: link up\n");
}

TEST(PortChanges, AreNoneWhereOneAnswerLacksThePort) {
    EXPECT_EQ(Between(WithPorts(""), WithPorts("Port  1  status: is Up,   STP status: Up,   AVB status: Up,  \n")), "");
}

TEST(ClockChanges, AreStateAndGrandmaster) {
    const Snapshot listening = WithClock(Status("LISTENING"));

    EXPECT_EQ(Between(listening, WithClock(Status("SLAVE"))), "clock-state-changed | clock SLAVE (was LISTENING)\n");
    EXPECT_EQ(Between(listening, WithClock(Status("LISTENING", "0000000000000001"))),
              "grandmaster-changed | grandmaster 0x0000000000000001 (was 0x02544efffe440005)\n");
    EXPECT_EQ(Between(listening, listening), "");
}

TEST(ClockChanges, AreNoneWhereOneAnswerLacksTheClock) {
    EXPECT_EQ(Between(WithClock(""), WithClock(Status("SLAVE"))), "");
    EXPECT_EQ(Between(WithClock(Status("SLAVE")), WithClock("")), "");
}

TEST(TalkerChanges, AreComingAndGoingAtThePortOfTheNeighbour) {
    const Snapshot none = WithStreams("", "");
    const Snapshot heard = WithStreams(Talker(in), Talker(declared));

    EXPECT_EQ(Between(none, heard), "talker-came | stream " + id + ": talker came at port 0\n");
    EXPECT_EQ(Between(heard, none), "talker-gone | stream " + id + ": talker gone from port 0\n");
    EXPECT_EQ(Between(heard, WithStreams(Talker(idle), Talker(declared))),
              "talker-gone | stream " + id + ": talker gone from port 0\n");
    EXPECT_EQ(Between(heard, WithStreams(Talker(declared), Talker(in))), "talker-gone | stream " + id +
                                                                             ": talker gone from port 0\n"
                                                                             "talker-came | stream " +
                                                                             id + ": talker came at port 1\n");
}

// LeaveAll sends every registrar there; the next declaration takes it back.
TEST(TalkerChanges, AreNoneWhileARegistrarWaitsForItsLeave) {
    EXPECT_EQ(Between(WithStreams(Talker(in), ""), WithStreams(Talker(leaving), "")), "");
}

TEST(TalkerChanges, TellWhyAndWhereItFails) {
    const Snapshot good = WithStreams(Talker(in), Talker(declared));
    const Snapshot failed = WithStreams(Talker(in), Failed(declared));
    const std::string failure =
        "talker-failed | stream " + id + ": talker failed, port 1: 8 Egress port is not AVB capable, bridge ";

    EXPECT_EQ(Between(good, failed), failure + "80:00:02:54:4e:44:00:01\n");
    EXPECT_EQ(Between(failed, good), "talker-recovered | stream " + id + ": talker no longer failed, port 1\n");
    EXPECT_EQ(Between(failed, failed), "");
}

TEST(TalkerChanges, TellOfAnotherFailureAtTheSamePort) {
    const Snapshot failed = WithStreams(Failed(in), "");

    EXPECT_EQ(Between(failed, WithStreams(Failed(in, "Insufficient bandwidth"), "")),
              "talker-failed | stream " + id +
                  ": talker failed, port 0: 1 Insufficient bandwidth, bridge 80:00:02:54:4e:44:00:01\n");
    EXPECT_EQ(Between(failed, WithStreams(Failed(in, "Egress port is not AVB capable", "02"), "")),
              "talker-failed | stream " + id +
                  ": talker failed, port 0: 8 Egress port is not AVB capable, bridge 80:00:02:54:4e:44:00:02\n");
}

TEST(TalkerChanges, CallNoTalkerRecoveredThatIsGone) {
    EXPECT_EQ(Between(WithStreams(Talker(in), Failed(declared)), WithStreams("", "")),
              "talker-gone | stream " + id + ": talker gone from port 0\n");
}

TEST(ListenerChanges, AreComingGoingAndTheDeclaration) {
    const Snapshot none = WithStreams("", "");
    const Snapshot ready = WithStreams("", Listener("READY", in));

    EXPECT_EQ(Between(none, ready), "listener-came | stream " + id + ": listener came at port 1, ready\n");
    EXPECT_EQ(Between(ready, WithStreams("", Listener("READY_FAILED", in))),
              "listener-changed | stream " + id + ": listener at port 1 ready failed (was ready)\n");
    EXPECT_EQ(Between(ready, none), "listener-gone | stream " + id + ": listener gone from port 1\n");
    EXPECT_EQ(Between(ready, WithStreams("", Listener("READY", leaving))), "");
    EXPECT_EQ(Between(none, WithStreams("", Listener("READY", declared))), "");
}

TEST(ReservationChanges, FollowTheListenersPort) {
    const std::string towardsTalker = Listener("READY", declared);
    const Snapshot waiting = WithStreams(Talker(in), Listener("READY", in));
    const Snapshot reserved = WithStreams(Talker(in) + towardsTalker, Listener("READY", in));
    const Snapshot failing =
        WithStreams(Talker(in) + Listener("ASKING_FAILED", declared), Listener("ASKING_FAILED", in));

    EXPECT_EQ(Between(waiting, reserved), "reserved | stream " + id + ": reserved on port 1\n");
    EXPECT_EQ(Between(reserved, waiting), "not-reserved | stream " + id + ": not reserved on port 1\n");
    EXPECT_EQ(Between(reserved, failing), "listener-changed | stream " + id +
                                              ": listener at port 1 asking failed (was ready)\n"
                                              "reservation-unknown | stream " +
                                              id + ": reservation on port 1 not known, as its listener asks failed\n");
}

TEST(ReservationChanges, EndWithTheListener) {
    const Snapshot reserved = WithStreams(Talker(in) + Listener("READY", declared), Listener("READY", in));

    EXPECT_EQ(Between(reserved, WithStreams(Talker(in), "")), "listener-gone | stream " + id +
                                                                  ": listener gone from port 1\n"
                                                                  "not-reserved | stream " +
                                                                  id + ": not reserved on port 1\n");
}

TEST(StreamChanges, AreFoundAmongManyAndToldInOrder) {
    const auto talkers = [](std::vector<std::string> ids) {
        std::string answer;
        for (const std::string& one : ids) answer += Talker(in, one);
        return WithStreams(answer, "");
    };

    EXPECT_EQ(Between(talkers({"00:00:01", "00:00:03", "00:00:05"}), talkers({"00:00:02", "00:00:03", "00:00:06"})),
              "talker-gone | stream 02:00:00:00:00:00:00:01: talker gone from port 0\n"
              "talker-came | stream 02:00:00:00:00:00:00:02: talker came at port 0\n"
              "talker-gone | stream 02:00:00:00:00:00:00:05: talker gone from port 0\n"
              "talker-came | stream 02:00:00:00:00:00:00:06: talker came at port 0\n");
}

TEST(VlanChanges, AreComingAndGoingAtEachPort) {
    const std::string two = std::string("[MVRP] Vlan:2 Applicant ") + in + "\n";
    const std::string seven = std::string("[MVRP] Vlan:7 Applicant ") + leaving + "\n";
    const std::string own = std::string("[MVRP] Vlan:9 Applicant ") + declared + "\n";

    EXPECT_EQ(Between(WithVlans("Port 0\n" + two), WithVlans("Port 0\n" + seven + own + "Port 1\n" + two)),
              "vlan-gone | VLAN 2: no longer registered at port 0\n"
              "vlan-came | VLAN 2: registered at port 1\n"
              "vlan-came | VLAN 7: registered at port 0\n");
}

TEST(Changes, NameWhatTheyAreOf) {
    const auto changes = Changes(WithStreams("", ""), WithStreams("", Talker(in)));
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes[0].kind, ChangeKind::TALKER_CAME);
    EXPECT_EQ(changes[0].port, 1U);
    EXPECT_EQ(changes[0].stream, 0x02000000'00a00001U);
    EXPECT_FALSE(changes[0].vid);

    const auto vlans = Changes(WithVlans(""), WithVlans(std::string("Port 1\n[MVRP] Vlan:7 Applicant ") + in));
    ASSERT_EQ(vlans.size(), 1U);
    EXPECT_EQ(vlans[0].port, 1U);
    EXPECT_EQ(vlans[0].vid, 7U);
    EXPECT_FALSE(vlans[0].stream);
}

}  // namespace
}  // namespace norvad::ctl
