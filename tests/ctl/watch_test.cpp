#include "ctl/watch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "ctl/table.h"
#include "ctl/text.h"
#include "tests/ctl/fake_bridge.h"

namespace norvad::ctl::test {
namespace {

std::string Talkers(unsigned count) {
    std::string answer = "Port 0\n";
    for (unsigned stream = 0; stream < count; ++stream) {
        answer += "[MSRP] Talker: " + IdText(0x0200000000a00000 + stream) +
                  ": MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) Applicant VO Registrar IN\n";
    }
    return answer;
}

std::string Vlans(unsigned count) {
    std::string answer = "Port 0\n";
    for (unsigned vid = 1; vid <= count; ++vid) {
        answer += "[MVRP] Vlan:" + std::to_string(vid) + " Applicant VO Registrar IN\n";
    }
    return answer;
}

class Watched : public testing::Test {
protected:
    Watched() {
        setenv("TZ", "UTC", 1);
        tzset();
        bridge.ports = FakeBridge::portUp;
        bridge.clock = FakeBridge::Status("SLAVE");
        bridge.terminal.screenSize = [this] { return size; };
    }

    // The drawings while the bridge changed so, without what moves the cursor.
    std::vector<std::string> Drawings(std::vector<std::function<void()>> changes, std::vector<const char*> more = {}) {
        bridge.output.str("");
        bridge.During(std::move(changes));
        more.insert(more.begin(), "watch");
        EXPECT_FALSE(bridge.Run(more));

        std::vector<std::string> drawings;
        const std::string output = bridge.output.str();
        for (size_t at = output.find("\033[H"); at != std::string::npos;) {
            const size_t next = output.find("\033[H", at + 1);
            drawings.push_back(Plain(output.substr(at + 3, output.find("\033[J", at) - at - 3)));
            at = next;
        }
        return drawings;
    }

    static std::string Plain(std::string text) {
        for (const std::string sequence : {"\033[K", "\r"}) {
            for (size_t at = text.find(sequence); at != std::string::npos; at = text.find(sequence)) {
                text.erase(at, sequence.size());
            }
        }
        return text;
    }

    static bool Contains(const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    }

    ScreenSize size{.columns = 200, .rows = 30};
    FakeBridge bridge;
};

TEST_F(Watched, IsTheBridgeOnOneScreen) {
    bridge.streams = Talkers(1);
    bridge.vlans = Vlans(1);

    const auto drawings = Drawings({});

    ASSERT_EQ(drawings.size(), 1U);
    EXPECT_EQ(drawings[0],
              "norvad3 at 1970-01-01 00:00:01\n"
              "\n"
              "       STATE  GRANDMASTER         STEPS  OFFSET  RMS      DELAY 0  DELAY 1\n"
              "clock  SLAVE  0x02544efffe440005  3      -7 ns   12.5 ns  -12 ns   512 ns\n"
              "\n"
              "PORT  LINK  STP  AS CAPABLE\n"
              "0     up    up   no\n"
              "\n"
              "1 stream\n"
              "STREAM                   DESTINATION        LATENCY  TALKER  LISTENERS  RESERVED  STATES    FAILURE\n"
              "02:00:00:00:00:a0:00:00  91:e0:f0:00:01:00  42 ns    port 0  -          -         T0 VO/IN  -\n"
              "\n"
              "VLAN  REGISTERED  DECLARED  STATES\n"
              "1     port 0      -         0 VO/IN\n");
}

TEST_F(Watched, MarksWhatChangedUntilTheNextLook) {
    const auto drawings = Drawings({[&] { bridge.ports = FakeBridge::portAsCapable; }, [] {}});

    ASSERT_EQ(drawings.size(), 3U);
    EXPECT_TRUE(Contains(drawings[0], "\n0     up    up   no\n")) << drawings[0];
    EXPECT_TRUE(Contains(drawings[1], "\n0     up    up   *yes\n")) << drawings[1];
    EXPECT_TRUE(Contains(drawings[1], "\n1970-01-01 00:00:02 port 0: AS capable")) << drawings[1];
    EXPECT_TRUE(Contains(drawings[2], "\n0     up    up   yes\n")) << drawings[2];
    EXPECT_TRUE(Contains(drawings[2], "\n1970-01-01 00:00:02 port 0: AS capable")) << drawings[2];
}

TEST_F(Watched, MarksInReverseWhereThereAreColours) {
    bridge.terminal.colours = true;

    const auto drawings = Drawings({[&] { bridge.ports = FakeBridge::portAsCapable; }});

    EXPECT_TRUE(Contains(drawings[1], "\033[32m\033[7myes\033[0m\n")) << drawings[1];
    EXPECT_FALSE(Contains(drawings[0], "\033[7m")) << drawings[0];
}

TEST_F(Watched, MarksStateAndGrandmasterAndNoMeasuredValue) {
    const auto drawings = Drawings({[&] { bridge.clock = FakeBridge::Status("SLAVE", "AD:8ns:RMS:9"); },
                                    [&] { bridge.clock = FakeBridge::Status("MASTER", "AD:0ns:RMS:0"); }});

    ASSERT_EQ(drawings.size(), 3U);
    EXPECT_TRUE(Contains(drawings[1], "\nclock  SLAVE  0x02544efffe440005  3      8 ns    9 ns")) << drawings[1];
    EXPECT_TRUE(Contains(drawings[2], "\nclock  *MASTER  0x02544efffe440005  3      0 ns    0 ns")) << drawings[2];
}

TEST_F(Watched, MarksANewStreamAllOver) {
    bridge.streams = Talkers(1);

    const auto drawings = Drawings({[&] { bridge.streams = Talkers(2); }});

    EXPECT_TRUE(Contains(drawings[1], "\n*02:00:00:00:00:a0:00:01  *91:e0:f0:00:01:00  *42 ns")) << drawings[1];
    EXPECT_TRUE(Contains(drawings[1], "\n02:00:00:00:00:a0:00:00   91:e0:f0:00:01:00   42 ns")) << drawings[1];
}

TEST_F(Watched, ShowsAsManyStreamsAsThereIsRoomFor) {
    bridge.streams = Talkers(1000);
    bridge.vlans = Vlans(9);

    const std::string drawing = Drawings({})[0];

    EXPECT_EQ(std::count(drawing.begin(), drawing.end(), '\n'), 29);
    EXPECT_TRUE(Contains(drawing, "\n1000 streams, of which 11 from 0 on are shown (--offset)\n")) << drawing;
    EXPECT_TRUE(Contains(drawing, "a0:00:0a ")) << drawing;
    EXPECT_FALSE(Contains(drawing, "a0:00:0b ")) << drawing;
    EXPECT_TRUE(Contains(drawing, "\n6     port 0      -         0 VO/IN\n... and 3 more: norvadctl vlans")) << drawing;
}

TEST_F(Watched, ShowsTheSelectedOnly) {
    bridge.streams = Talkers(1000);

    const std::string drawing = Drawings({}, {"--offset", "500", "--limit", "2"})[0];

    EXPECT_TRUE(Contains(drawing, "\n1000 streams, of which 2 from 500 on are shown (--offset)\n")) << drawing;
    EXPECT_TRUE(Contains(drawing, "a0:01:f4 ")) << drawing;
    EXPECT_TRUE(Contains(Drawings({}, {"--stream", "0200000000a00002"})[0], "\n1 stream\n"));
}

TEST_F(Watched, IsCutToTheTerminal) {
    bridge.streams = Talkers(100);
    for (const ScreenSize& small : {ScreenSize{20, 6}, ScreenSize{1, 1}, ScreenSize{300, 2}}) {
        size = small;
        std::istringstream lines(Drawings({})[0]);
        unsigned rows = 0;
        for (std::string line; std::getline(lines, line); ++rows) EXPECT_LT(line.size(), std::max(small.columns, 2U));
        EXPECT_LE(rows, small.rows);
    }
}

TEST_F(Watched, IsDrawnAgainWhenTheSizeChangesWithoutAsking) {
    const auto drawings = Drawings({[&] {
        size.columns = 30;
        bridge.door.isResized = true;
    }});

    ASSERT_EQ(drawings.size(), 3U);
    EXPECT_TRUE(Contains(drawings[1], "\nclock  SLAVE  0x02544efffe440\n")) << drawings[1];
    EXPECT_EQ(std::count(bridge.door.taken.begin(), bridge.door.taken.end(), "norvadctl -s "), 2);
}

TEST_F(Watched, KeepsWhatItSawWhileTheDaemonIsGone) {
    bridge.Vanish();

    const auto drawings = Drawings({[&] { bridge.Appear(); }, [&] { bridge.Vanish(); }});

    ASSERT_EQ(drawings.size(), 3U);
    EXPECT_EQ(drawings[0], "norvad3 at 1970-01-01 00:00:01: no daemon runs: there is no request queue /norvad.mq\n");
    EXPECT_TRUE(Contains(drawings[1], "\n0     up    up   no\n")) << drawings[1];
    EXPECT_EQ(drawings[2].find("norvad3 at 1970-01-01 00:00:03: no daemon runs"), 0U) << drawings[2];
    EXPECT_TRUE(Contains(drawings[2], "\n0     up    up   no\n")) << drawings[2];
    EXPECT_TRUE(Contains(drawings[2], " the daemon is back\n")) << drawings[2];
    EXPECT_TRUE(Contains(drawings[2], " the daemon is gone (")) << drawings[2];
}

TEST_F(Watched, KeepsTheLastFiveChanges) {
    std::vector<std::function<void()>> changes;
    for (int change = 0; change < 7; ++change) {
        changes.emplace_back(
            [this, change] { bridge.ports = change % 2 == 0 ? FakeBridge::portDown : FakeBridge::portUp; });
    }

    const std::string last = Drawings(std::move(changes)).back();

    EXPECT_FALSE(Contains(last, "00:00:03 port 0")) << last;
    EXPECT_TRUE(Contains(last, "00:00:04 port 0")) << last;
    EXPECT_TRUE(Contains(last, "00:00:08 port 0")) << last;
}

TEST_F(Watched, LooksAsOftenAsItIsTold) {
    Drawings({[] {}, [] {}}, {"60"});

    EXPECT_EQ(bridge.door.nowMs, 1000U + 3 * 60'000U);
}

TEST_F(Watched, LeavesTheScreenAsItWas) {
    Drawings({});

    const std::string output = bridge.output.str();
    EXPECT_TRUE(output.starts_with("\033[?1049h\033[?25l")) << output;
    EXPECT_TRUE(output.ends_with("\033[?25h\033[?1049l")) << output;
}

TEST_F(Watched, EndsWhenNobodySeesIt) {
    bridge.During({[&] { bridge.output.setstate(std::ios::badbit); }});

    EXPECT_EQ(bridge.Run({"watch"}), ExitStatus::DONE);
}

TEST_F(Watched, WantsATerminal) {
    bridge.terminal.screenSize = [] { return std::nullopt; };

    try {
        bridge.Run({"watch"});
        FAIL() << "it drew";
    } catch (const UsageError& error) {
        EXPECT_TRUE(Contains(error.what(), "norvadctl events"));
    }
    EXPECT_EQ(bridge.output.str(), "");
}

TEST_F(Watched, RefusesWordsThatMakeNoSense) {
    const std::vector<const char*> cases[] = {{"watch", "0"},      {"watch", "86401"},         {"watch", "-1"},
                                              {"watch", "1", "2"}, {"watch", "--json"},        {"watch", "--count"},
                                              {"watch", "fast"},   {"watch", "--timeout", "1"}};
    for (const auto& words : cases) EXPECT_THROW(bridge.Run(words), UsageError) << testing::PrintToString(words);
    EXPECT_TRUE(bridge.door.taken.empty());
}

TEST(MarkedTable, KeepsItsColumnsInLine) {
    const Table before{{"A", "B"}, {{{"x"}, {"1"}}, {{"y"}, {"22"}}}};
    Table now{{"A", "B"}, {{{"x"}, {"1"}}, {{"y"}, {"33"}}, {{"z"}, {"4"}}}};

    MarkChanges(now, before);

    EXPECT_EQ(Render(now, false),
              "A   B\n"
              "x   1\n"
              "y   *33\n"
              "*z  *4\n");
    EXPECT_NE(Render(now, true).find("\ny  \033[7m33\033[0m\n"), std::string::npos) << Render(now, true);
}

}  // namespace
}  // namespace norvad::ctl::test
