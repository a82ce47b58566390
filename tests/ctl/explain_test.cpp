#include "ctl/explain.h"

#include <gtest/gtest.h>

#include <map>

#include "ctl/options.h"
#include "tests/ctl/fake_control_door.h"

namespace norvad::ctl::test {
namespace {

const std::string ports =
    "Port  0  status: is Up,   STP status: Up,   AVB status: Up,  \n"
    "Port  1  status: is Up,   STP status: Up,   AVB status: Up,  \n"
    "CPU Port status: is Down\n";
const std::string talker =
    "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x22000 (139264ns) Applicant ";
const std::string talkerFailed =
    "[MSRP] TalkerFailed: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x22000 (139264ns)"
    "\tBridge ID 80:00:02:54:4e:44:00:01:\tError code: Egress port is not AVB capable Applicant ";
const std::string listener = "[MSRP] Listener:0200000000a0:0001 decl:";
const std::string declared = "QA Registrar MT\n", registered = "VO Registrar IN\n";
const std::string talkerIn = talker + registered, talkerOut = talker + declared;
const std::string readyIn = listener + "READY Applicant " + registered;
const std::string readyOut = listener + "READY Applicant " + declared;
const std::string domains =
    "[MSRP] Domain:5 Pri2 VLAN2 Applicant QA Registrar IN\n[MSRP] Domain:6 Pri3 VLAN2 Applicant QA Registrar IN\n";
const std::string clockLine =
    "ST:SLAVE:MC:0x02544efffe440005:LC:0x020000fffe000100:SR:3:PD0:412ns:PD1:512ns:AD:-499ns:RMS:12.5:"
    "RR0:1.5e-06:RR1:-2e-07:CRR:0:w:0\n";

const std::vector<std::string> ofPort{"explain", "port", "1"};
const std::vector<std::string> ofStream{"explain", "stream", "02000000-00a00001"};
const std::vector<std::string> ofClock{"explain", "clock"};

// "link 1: holds".
std::string Line(const Step& step) {
    const char* const states[] = {"holds", "missing", "not known"};
    const std::string port = step.port ? " " + std::to_string(*step.port) : std::string();
    return step.name + port + ": " + states[static_cast<size_t>(step.finding)];
}

class AnExplanation : public testing::Test {
protected:
    AnExplanation() {
        door.daemon = [this](const std::string& words) {
            return std::vector<FakeControlDoor::Piece>{{answers.at(words), true}};
        };
    }

    Explanation Of(const std::vector<std::string>& words) {
        BridgeReader reader(client);
        const Explanation explanation = Explain(words, reader);
        EXPECT_EQ(reader.LinesNotUnderstood().count, 0U);
        return explanation;
    }
    std::vector<std::string> LinesOf(const std::vector<std::string>& words) {
        std::vector<std::string> lines;
        for (const Step& step : Of(words).steps) lines.push_back(Line(step));
        return lines;
    }

    // In the answer to that option every old becomes new.
    void Change(const std::string& option, const std::string& old, const std::string& changed) {
        std::string& answer = answers.at("norvadctl " + option + " ");
        size_t at = answer.find(old);
        ASSERT_NE(at, std::string::npos) << old;
        for (; at != std::string::npos; at = answer.find(old, at + changed.size())) {
            answer.replace(at, old.size(), changed);
        }
    }

    std::map<std::string, std::string> answers = {
        {"norvadctl -s ", ports},
        {"norvadctl -r ", "Port 0\n" + talkerIn + readyOut + "Port 1\n" + talkerOut + readyIn},
        {"norvadctl -v ", "Port 0\n[MVRP] Vlan:2 Applicant VO Registrar IN\nPort 1\n"},
        {"norvadctl -o ", "Port 0\n" + domains + "Port 1\n" + domains},
        {"norvadctl -p ", clockLine},
    };
    const std::map<std::string, std::string> whole = answers;
    FakeControlDoor door;
    ControlClient client{door};
};

TEST_F(AnExplanation, OfAPortGoesFromItsLinkToItsDomain) {
    EXPECT_EQ(LinesOf(ofPort),
              (std::vector<std::string>{"link 1: holds", "spanning tree 1: holds", "neighbour 1: holds",
                                        "AS capable 1: holds", "link delay 1: holds", "domain 1: holds"}));
    EXPECT_EQ(door.taken,
              (std::vector<std::string>{"norvadctl -s ", "norvadctl -v ", "norvadctl -o ", "norvadctl -p "}));
}

// What of the bandwidth there is, is not in the answers, and is not missing.
TEST_F(AnExplanation, OfAStreamFollowsItThroughTheBridge) {
    const Explanation explanation = Of(ofStream);

    EXPECT_EQ(
        LinesOf(ofStream),
        (std::vector<std::string>{"link 0: holds", "spanning tree 0: holds", "link 1: holds", "spanning tree 1: holds",
                                  "neighbour 1: holds", "AS capable 1: holds", "link delay 1: holds", "domain 1: holds",
                                  "talker 0: holds", "talker passed on 1: holds", "listener 1: holds",
                                  "listener passed on 0: holds", "reservation 1: holds", "bandwidth 1: not known"}));
    EXPECT_EQ(explanation.FirstMissing(), nullptr);
}

TEST_F(AnExplanation, OfTheClockGoesFromTheLinkToTheOffset) {
    EXPECT_EQ(LinesOf(ofClock), (std::vector<std::string>{"link: holds", "spanning tree: holds", "AS capable: holds",
                                                          "state: holds", "grandmaster: holds", "offset: holds"}));
}

TEST_F(AnExplanation, ShowsTheMeasuredValues) {
    const auto seen = [this](const std::vector<std::string>& words, const std::string& name) {
        for (const Step& step : Of(words).steps) {
            if (step.name == name) return step.seen;
        }
        return std::string("no such step");
    };

    EXPECT_EQ(seen(ofPort, "link delay"), "512 ns, the neighbour's clock -0.200 ppm");
    EXPECT_EQ(seen(ofPort, "neighbour"), "declares 2 domains, 0 VLANs");
    EXPECT_EQ(seen(ofPort, "domain"), "class B priority 2 VLAN 2, class A priority 3 VLAN 2");
    EXPECT_EQ(seen(ofStream, "talker"), "to 91:e0:f0:00:01:00, latency 139264 ns");
    EXPECT_EQ(seen(ofClock, "grandmaster"), "0x02544efffe440005, announced by 0x020000fffe000100 at 3 steps");
    EXPECT_EQ(seen(ofClock, "offset"), "-499 ns, rms 12.5 ns, grandmaster's clock +0.000 ppm");
}

struct Missed {
    std::vector<std::string> words;
    const char* option;  // the answer that differs from where all holds,
    std::string old, changed;
    const char* step;  // the first that is missing then,
    const char* says;  // and a part of what is seen, meant or advised
};

const std::string portIsDown = "Port  1  status: is Down\n";
const std::string portIsUp = "Port  1  status: is Up,   STP status: Up,   AVB status: Up,  \n";
const std::string port0IsUp = "Port  0  status: is Up,   STP status: Up,   AVB status: Up,  \n";
const std::string port0IsBlocked = "Port  0  status: is Up,   STP status: Down, AVB status: Up,  \n";

const Missed missed[] = {
    {ofPort, "-s", portIsUp, portIsDown, "link 1: missing", "reports no link"},
    {ofPort, "-s", "STP status: Up,  ", "STP status: Down,", "spanning tree 1: missing", "blocks the port"},
    {ofPort, "-s", "AVB status: Up,  ", "AVB status: Down,", "AS capable 1: missing", "fourth request in a row"},
    {ofPort, "-s", "AVB status: Up,  ", "AVB status: Down,", "AS capable 1: missing",
     "512 ns (-p) was measured earlier"},
    {ofPort, "-o", "IN\n", "MT\n", "domain 1: missing", "the neighbour declares none"},
    {ofPort, "-o", domains,
     "[MSRP] Domain:6 Pri3 VLAN2 Applicant QA Registrar MT\n[MSRP] Domain:6 Pri3 VLAN7 Applicant VO Registrar IN\n",
     "domain 1: missing", "the neighbour declares class A priority 3 VLAN 7"},
    {ofPort, "-o", domains, "[MSRP] Domain:6 Pri3 VLAN2 Applicant QA Registrar MT\n", "domain 1: missing",
     "This bridge declares class A priority 3 VLAN 2."},

    {ofStream, "-s", port0IsUp, "Port  0  status: is Down\n", "link 0: missing", "AS capability goes"},
    {ofStream, "-s", port0IsUp, port0IsBlocked, "spanning tree 0: missing", "not carried"},
    {ofStream, "-s", portIsUp, portIsDown, "link 1: missing", "look at the cable"},
    {ofStream, "-s", "AVB status: Up,  ", "AVB status: Down,", "AS capable 1: missing", "from in_port 1"},
    {ofStream, "-o", "IN\n", "MT\n", "domain 1: missing", "reserves all the same"},
    {ofStream, "-r", talkerIn, "", "talker: missing", "not been declared"},
    {ofStream, "-r", talkerIn, talker + "VO Registrar MT\n", "talker: missing", "no neighbour declares it"},
    {ofStream, "-r", talkerIn, talkerFailed + registered, "talker 0: missing",
     "failed: code 8 Egress port is not AVB capable, at bridge 80:00:02:54:4e:44:00:01"},
    {ofStream, "-r", talkerIn, talkerFailed + registered, "talker 0: missing", "address 02:54:4e:44:00:01"},
    {ofStream, "-r", talkerOut, talkerFailed + declared, "talker passed on 1: missing", "not AS capable, with code 8"},
    {ofStream, "-r", talkerOut, "", "talker passed on 1: missing", "seventh byte"},
    {ofStream, "-r", readyIn, "", "listener 1: missing", "start the listener"},
    {ofStream, "-r", readyIn, listener + "ASKING_FAILED Applicant " + registered, "listener 1: missing",
     "Only ready and ready failed reserve"},
    {ofStream, "-r", readyOut, "", "listener passed on 0: missing", "spanning tree up"},

    {ofClock, "-s", "is Up,   STP status: Up,   AVB status: Up,  ", "is Down", "link: missing",
     "port 0 down, port 1 down"},
    {ofClock, "-s", "STP status: Up,  ", "STP status: Down,", "spanning tree: missing", "Announce"},
    {ofClock, "-s", "AVB status: Up,  ", "AVB status: Down,", "AS capable: missing", "port 0 no, port 1 no"},
    {ofClock, "-p", "SLAVE", "LISTENING", "state: missing", "--nogm"},
    {ofClock, "-p", "SLAVE", "ANNOUNCE", "state: missing", "in 4 s"},
    {ofClock, "-p", "AD:-499ns", "AD:-500ns", "offset: missing", "from -499 to 499 ns"},
    {ofClock, "-p", "AD:-499ns", "AD:500ns", "offset: missing", "steps the clock"},
};

TEST_F(AnExplanation, NamesTheFirstStepThatIsMissingAndWhy) {
    for (const Missed& expected : missed) {
        SCOPED_TRACE(expected.step + std::string(", ") + expected.says);
        answers = whole;
        Change(expected.option, expected.old, expected.changed);

        const Explanation explanation = Of(expected.words);
        const Step* first = explanation.FirstMissing();

        ASSERT_NE(first, nullptr);
        EXPECT_EQ(Line(*first), expected.step);
        const std::string told = first->seen + "\n" + first->meaning + "\n" + first->advice;
        EXPECT_NE(told.find(expected.says), std::string::npos) << told;
        EXPECT_NE(first->meaning, "");
        EXPECT_EQ(first->from, expected.option);
    }
}

// Each is told where it can be seen.
TEST_F(AnExplanation, SaysWhereItCanBeSeenWhatTheAnswersDoNotTell) {
    struct {
        std::vector<std::string> words;
        const char *option, *old, *changed, *step, *says;
    } const cases[] = {
        {ofPort, "-o", "IN\n", "MT\n", "neighbour 1: holds", ""},  // it answers peer delay requests
        {ofPort, "-p", "PD1:512ns", "PD1:0ns", "link delay 1: not known", "norvadctl log ptp 1"},
        {ofPort, "-s", "AVB status: Up,  ", "AVB status: Down,", "link delay 1: not known", ""},  // what it was before
        {ofStream, "-r", "decl:READY", "decl:ASKING_FAILED", "reservation 1: not known", "norvadctl log ioctl 1"},
        {ofStream, "-r", "decl:READY", "decl:READY_FAILED", "bandwidth 1: not known", "norvadctl log ioctl 2"},
        {ofClock, "-p", "AD:-499ns:RMS:12.5", "AD:0ns:RMS:0", "offset: not known", "norvadctl log ptp 3"},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.step);
        answers = whole;
        Change(expected.option, expected.old, expected.changed);

        bool found = false;
        for (const Step& step : Of(expected.words).steps) {
            if (Line(step) != expected.step) continue;
            found = true;
            EXPECT_NE(step.advice.find(expected.says), std::string::npos) << step.advice;
        }
        EXPECT_TRUE(found) << testing::PrintToString(LinesOf(expected.words));
    }
}

TEST_F(AnExplanation, KnowsNoNeighbourThatNeitherDeclaresNorAnswers) {
    Change("-o", "IN\n", "MT\n");
    Change("-p", "PD1:512ns", "PD1:0ns");

    EXPECT_EQ(LinesOf(ofPort)[2], "neighbour 1: not known");
}

TEST_F(AnExplanation, OfAStreamThatNobodyKnowsLooksAtTheLinks) {
    answers["norvadctl -r "] = "Port 0\nPort 1\n";

    EXPECT_EQ(LinesOf(ofStream),
              (std::vector<std::string>{"link 0: holds", "spanning tree 0: holds", "link 1: holds",
                                        "spanning tree 1: holds", "talker: missing", "listener: missing"}));
}

TEST_F(AnExplanation, OfAStreamThatNobodyTalksLooksForItBesideTheListener) {
    Change("-r", talkerIn, "");
    Change("-r", talkerOut, "");

    const auto lines = LinesOf(ofStream);

    EXPECT_EQ(lines.front(), "link 0: holds");
    EXPECT_EQ(lines[2], "link 1: holds");
    EXPECT_EQ((std::vector<std::string>{lines.end() - 2, lines.end()}),
              (std::vector<std::string>{"talker: missing", "listener 1: holds"}));
}

TEST_F(AnExplanation, OfAStreamToTheCpuSaysThatItsPortIsNeverAsCapable) {
    Change("-s", "CPU Port status: is Down", "CPU Port status: is Up,   STP status: Up,   AVB status: Down,");
    Change("-r", "Port 1\n", "Port 6\n");
    Change("-o", "Port 1\n", "Port 6\n");

    const Explanation explanation = Of(ofStream);

    ASSERT_NE(explanation.FirstMissing(), nullptr);
    EXPECT_EQ(Line(*explanation.FirstMissing()), "AS capable 6: missing");
    EXPECT_NE(explanation.FirstMissing()->meaning.find("never becomes AS capable"), std::string::npos);
}

TEST_F(AnExplanation, GuessesNothingOfAPortThatIsNotInTheAnswer) {
    Change("-r", "Port 1\n", "Port 5\n");
    Change("-o", "Port 1\n", "Port 5\n");

    const auto lines = LinesOf(ofStream);

    EXPECT_EQ(lines[2], "link 5: not known");
    EXPECT_EQ(lines[5], "AS capable 5: not known");
    EXPECT_EQ(Of(ofStream).FirstMissing(), nullptr);
}

TEST_F(AnExplanation, OfAGrandmasterKnowsNoOffset) {
    Change("-p", "SLAVE", "MASTER");

    EXPECT_EQ(LinesOf(ofClock).back(), "grandmaster: holds");
}

TEST_F(AnExplanation, OfAClockWithoutAStatusGuessesNothing) {
    answers["norvadctl -p "] = "";

    EXPECT_EQ(LinesOf(ofClock).back(), "state: not known");
    EXPECT_EQ(LinesOf(ofPort)[4], "link delay 1: not known");
}

TEST_F(AnExplanation, IsATableAndWhatTheFirstMissingStepMeans) {
    Change("-s", portIsUp, portIsDown);
    Change("-p", "PD1:512ns", "PD1:0ns");

    EXPECT_EQ(ExplanationText(Of(ofPort), false),
              "STEP                   STATE      SEEN                                                  FROM\n"
              "link, port 1           missing    down                                                  -s\n"
              "spanning tree, port 1  not known  no link                                               -s\n"
              "neighbour, port 1      holds      declares 2 domains, 0 VLANs                           -o -v\n"
              "AS capable, port 1     missing    no                                                    -s\n"
              "link delay, port 1     not known  none measured                                         -p\n"
              "domain, port 1         holds      class B priority 2 VLAN 2, class A priority 3 VLAN 2  -o\n"
              "\n"
              "missing: link, port 1\n"
              "    The switch's driver reports no link. Nothing is exchanged with a neighbour, and AS capability\n"
              "    goes with the link at once.\n"
              "    To do: look at the cable and at the neighbour's power. norvadctl log msrp 1 logs each link that\n"
              "    comes and goes.\n");
}

TEST_F(AnExplanation, ClosesWithWhatIsNotKnownWhereNothingIsMissing) {
    const std::string text = ExplanationText(Of(ofStream), true);

    EXPECT_NE(text.find("\n\n\033[2mnot known: bandwidth, port 1\033[0m\n    It is MaxIntervalFrames x"),
              std::string::npos)
        << text;
    EXPECT_TRUE(text.ends_with("\n\nnothing is missing\n")) << text;
}

TEST_F(AnExplanation, IsWantedOfSomethingThatThereIs) {
    const std::vector<std::string> cases[] = {
        {"explain"},           {"explain", "port"},        {"explain", "port", "2"},  {"explain", "port", "1", "2"},
        {"explain", "stream"}, {"explain", "stream", "1"}, {"explain", "clock", "0"}, {"explain", "vlan", "2"},
    };
    for (const auto& words : cases) EXPECT_THROW(Of(words), UsageError) << testing::PrintToString(words);
    EXPECT_TRUE(door.taken.empty());
}

}  // namespace
}  // namespace norvad::ctl::test
