#include "ptp/ptp_control.h"

#include <gtest/gtest.h>

#include <boost/program_options.hpp>
#include <sstream>

#include "tests/ptp/ptp_fixture.h"

namespace norvad::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// The status line

TEST(StatusLine, ShowsEverythingInOneLine) {
    const ClockIdentity grandmaster{0x00, 0x1B, 0x21, 0xFF, 0xFE, 0x0A, 0x0B, 0x0C};
    const ClockIdentity sender{1, 2, 3, 4, 5, 6, 7, 8};
    PTPStatus status{PortState::SLAVE,
                     {{1, 248, 0xFE, 0x4100, 248, grandmaster, 3}, sender},
                     {412, -7},
                     -15,
                     1600,
                     {1.000125, 1.0},
                     -2.5e-05,
                     1};
    std::ostringstream answer;

    PrintStatusLine(status, answer);

    EXPECT_EQ(answer.str(),
              "ST:SLAVE:MC:0x001b21fffe0a0b0c:LC:0x0102030405060708:SR:3:PD0:412ns:PD1:-7ns:AD:-15ns:RMS:40:"
              "RR0:0.000125:RR1:0:CRR:-2.5e-05:w:1\n");
}

TEST(StatusLine, NamesEveryState) {
    for (const auto& [state, name] : {std::pair{PortState::INITIALIZING, "ST:INITIALIZING:MC"},
                                      {PortState::LISTENING, "ST:LISTENING:MC"},
                                      {PortState::ANNOUNCE, "ST:ANNOUNCE:MC"},
                                      {PortState::SLAVE, "ST:SLAVE:MC"},
                                      {PortState::MASTER, "ST:MASTER:MC"}}) {
        PTPStatus status{};
        status.state = state;
        std::ostringstream answer;
        PrintStatusLine(status, answer);
        EXPECT_EQ(answer.str().find(name), 0U);
    }
}

TEST(StatusLine, LeavesTheStreamAsItWas) {
    std::ostringstream answer;
    PrintStatusLine({}, answer);
    answer.str("");
    answer << 255 << " " << 7;
    EXPECT_EQ(answer.str(), "255 7");
}

// Options of the whole handler

class Control : public PtpFixture {};

TEST_F(Control, OptionsAreDeclaredInTheirOrder) {
    boost::program_options::options_description options;
    handler->AddControlOptions(options);
    std::vector<std::string> declared;
    for (const auto& option : options.options())
        declared.push_back(option->format_name() + " " + option->description());
    EXPECT_THAT(declared, ElementsAre("-w [ --window ] set rateRatio window", "-p [ --ptp ] show PTP status",
                                      "-a [ --as ] force AS capable decision based on port mask parameter",
                                      "-m [ --priority1 ] set priority1 level to 0..255"));
}

TEST_F(Control, FreshHandlerShowsItsOwnClock) {
    EXPECT_EQ(PtpFixture::Control({"--ptp"}),
              "ST:LISTENING:MC:0x001122fffe334455:LC:0x001122fffe334455:SR:0:PD0:0ns:PD1:0ns:AD:0ns:RMS:0:RR0:0:RR1:0:"
              "CRR:0:w:0\n");
}

TEST_F(Control, WithoutAnOptionOfOursNothingHappens) {
    EXPECT_EQ(PtpFixture::Control({}), "");
}

TEST_F(Control, OneSettingIsActedOnTheStatusFirst) {
    const std::string answer = PtpFixture::Control({"-p", "-w", "1", "-a", "3", "-m", "256"});
    EXPECT_THAT(answer, HasSubstr(":w:0\n")) << "printed before the window changed";
    EXPECT_THAT(fake.decisions, IsEmpty());
    EXPECT_EQ(answer.find("out of range"), std::string::npos);
    EXPECT_THAT(Status(), HasSubstr(":w:1\n"));

    PtpFixture::Control({"-a", "3", "-m", "100"});
    EXPECT_THAT(fake.decisions, SizeIs(2));
}

TEST_F(Control, DaemonControlMessageExportsTheGrandmasterAgain) {
    EXPECT_THAT(Logged(1, [&] { handler->HandleDaemonControlMessage(); }),
                HasSubstr("[SW-PTP] HandleDaemonControlMessage\n"));
    EXPECT_THAT(kept.identities, ElementsAre(own));
    EXPECT_THAT(kept.messages, IsEmpty()) << "no grandmaster has been selected";

    BecomeSlave();
    handler->HandleDaemonControlMessage();
    EXPECT_THAT(kept.identities, ElementsAre(own, peer, peer));
    EXPECT_THAT(kept.messages, SizeIs(2));
}

}  // namespace

}  // namespace norvad::test
