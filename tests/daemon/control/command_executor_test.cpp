#include "daemon/control/command_executor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "tests/daemon/control/bridge_fixture.h"

namespace norvad::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* listing =
    "Supported daemon control options:\n"
    "  --msrp arg            text\n"
    "  --ptp arg             text\n"
    "  -i [ --info ]         displays the switch database entries\n"
    "  -s [ --ports ]        displays port statistics\n"
    "  -0 [ --egress0 ] arg  set port 0 egress to 2..99 percent of full link bw\n"
    "  -1 [ --egress1 ] arg  set port 1 egress to 2..99 percent of full link bw\n"
    "  -h [ --help ]         show help\n"
    "  -d [ --debug ] arg    set debug level for SOCKET | MRP | MSRP | MVRP | PTP | \n"
    "                        IOCTL to <n>\n";

class Command : public BridgeFixture {
protected:
    std::string Answer(const std::string& text) {
        std::ostringstream answer;
        testing::internal::CaptureStdout();
        ExecuteCommand(bridge, text, answer);
        standardOutput = testing::internal::GetCapturedStdout();
        return answer.str();
    }

    std::string standardOutput;
};

TEST_F(Command, HelpListsTheOptionsOfTheHandlersFirst) {
    EXPECT_EQ(Answer("norvad3 -h "), listing);
}

TEST_F(Command, TheListingIsBuiltAnewForEveryCommand) {
    Answer("norvad3 -h ");
    EXPECT_EQ(Answer("norvad3 -h "), listing);

    EXPECT_EQ(Times("msrp options"), 2);
}

TEST_F(Command, NoOptionAtAllIsAnsweredWithOk) {
    for (const char* text : {"", " ", "norvad3 ", "norvad3", "\t norvad3 \t foo "}) EXPECT_EQ(Answer(text), "OK");
}

TEST_F(Command, EveryHandlerActsInTheOrderOfTheRegistry) {
    EXPECT_EQ(Answer("norvad3 --ptp b --msrp a "), "msrp=a;ptp=b;");
}

TEST_F(Command, EgressOfPort0GoesToTheDriver) {
    EXPECT_EQ(Answer("norvad3 -0 50 "), "OK");

    EXPECT_EQ(doors.driver.egress.size(), 1u);
    EXPECT_EQ(doors.driver.egress[0].parameter, 2u);
    EXPECT_EQ(doors.driver.egress[0].limit, 50);
}

TEST_F(Command, EgressOfPort1GoesToTheDriver) {
    EXPECT_EQ(Answer("norvad3 --egress1=99 "), "OK");

    EXPECT_EQ(doors.driver.egress.size(), 1u);
    EXPECT_EQ(doors.driver.egress[1].parameter, 2u);
    EXPECT_EQ(doors.driver.egress[1].limit, 99);
}

TEST_F(Command, EgressIsPassedOnWithoutALookAtItsRange) {
    EXPECT_EQ(Answer("norvad3 -0 1000 "), "OK");
    EXPECT_EQ(Answer("norvad3 -1 4294967295 "), "OK");

    EXPECT_EQ(doors.driver.egress[0].limit, 1000);
    EXPECT_EQ(doors.driver.egress[1].limit, -1);
}

TEST_F(Command, OfTwoEgressOptionsOnlyThatOfPort0IsServed) {
    EXPECT_EQ(Answer("norvad3 -1 20 -0 30 "), "OK");

    EXPECT_EQ(doors.driver.egress.size(), 1u);
    EXPECT_EQ(doors.driver.egress[0].limit, 30);
}

TEST_F(Command, InfoAsksTheDriverForItsAddressTable) {
    EXPECT_EQ(Answer("norvad3 -i "), "OK");

    ASSERT_EQ(doors.driver.records.size(), 1u);
    EXPECT_EQ(doors.driver.records[0][0], 21);
}

TEST_F(Command, PortsGoBeforeInfoAndInfoBeforeEgress) {
    EXPECT_THAT(Answer("norvad3 -i -s -0 30 "), HasSubstr("CPU Port"));
    EXPECT_THAT(doors.driver.records, IsEmpty());

    EXPECT_EQ(Answer("norvad3 -0 30 -i "), "OK");
    EXPECT_EQ(doors.driver.records.size(), 1u);
    EXPECT_THAT(doors.driver.egress, IsEmpty());
}

TEST_F(Command, PortsThatAreDownAreReportedDown) {
    EXPECT_EQ(Answer("norvad3 -s "),
              "Port  0  status: is Down\n"
              "Port  1  status: is Down\n"
              "CPU Port status: is Down\n");
}

TEST_F(Command, PortsThatAreUpAreReportedWithTheirStates) {
    doors.SetPortLinks({linkGigabit, linkFastBlocked, 0, 0, 0, 0, linkGigabit});
    bridge.UpdateLinks();
    bridge.SetAsCapable(1, true, false);

    EXPECT_EQ(Answer("norvad3 --ports "),
              "Port  0  status: is Up,   STP status: Up,   AVB status: Down,\n"
              "Port  1  status: is Up,   STP status: Down, AVB status: Up,  \n"
              "CPU Port status: is Up,   STP status: Up,   AVB status: Down,\n");
}

TEST_F(Command, DebugSetsALevelAndSaysSoOnTheDaemonsOwnOutput) {
    EXPECT_EQ(Answer("norvad3 -d ptp 2 "), "OK");

    EXPECT_EQ(debugLevels[4], 2);
    EXPECT_EQ(standardOutput, "LOG_PTP debugLevel = 2\n");
}

TEST_F(Command, DebugOfAnUnknownCategoryIsAnsweredWithOk) {
    EXPECT_EQ(Answer("norvad3 -d foo 2 "), "OK");

    EXPECT_EQ(standardOutput, "");
}

TEST_F(Command, DebugWithOneWordOrThreeIsAnsweredWithTheListing) {
    EXPECT_EQ(Answer("norvad3 -d ptp "), listing);
    EXPECT_EQ(Answer("norvad3 -d ptp 2 3 "), listing);

    EXPECT_EQ(debugLevels[4], 0);
}

TEST_F(Command, NothingElseIsDoneBesideDebug) {
    EXPECT_EQ(Answer("norvad3 --msrp a -0 50 -s -d ptp 2 "), "OK");

    EXPECT_EQ(Times("msrp values"), 0);
    EXPECT_THAT(doors.driver.records, IsEmpty());
}

TEST_F(Command, HelpGoesTogetherWithTheRest) {
    EXPECT_EQ(Answer("norvad3 -h --msrp a "), std::string(listing) + "msrp=a;");
}

TEST_F(Command, AnUnknownOptionIsAnsweredWithTheParsersText) {
    EXPECT_EQ(Answer("norvad3 --foo "), "unrecognised option '--foo'\n");
    EXPECT_EQ(Times("msrp values"), 0);

    EXPECT_EQ(Answer("norvad3 --msrp a "), "msrp=a;");
}

TEST_F(Command, AMissingOrMalformedValueIsAnsweredWithTheParsersText) {
    EXPECT_THAT(Answer("norvad3 -0 "), HasSubstr("the required argument for option '--egress0' is missing"));
    EXPECT_THAT(Answer("norvad3 -0 many "), HasSubstr("the argument ('many') for option '--egress0' is invalid"));
    EXPECT_THAT(Answer("norvad3 -s -s "), HasSubstr("option '--ports' cannot be specified more than once"));

    EXPECT_THAT(doors.driver.records, IsEmpty());
}

// The parser replaced %value% in its error text by the word at fault, found the mark again in that word, and so on: the
// daemon never came back from "-0 %value%".
TEST_F(Command, AMarkOfTheParsersOwnTextsIsAWordLikeAnyOther) {
    EXPECT_EQ(Answer("norvad3 -0 %value% "), "the argument ('%value%') for option '--egress0' is invalid\n");
    EXPECT_EQ(Answer("norvad3 --%canonical_option%x "), "unrecognised option '--%canonical_option%x'\n");
    EXPECT_EQ(Answer("norvad3 -1 5%option%%prefix% "),
              "the argument ('5%option%%prefix%') for option '--egress1' is invalid\n");
}

TEST_F(Command, AWordsOwnBytesComeBackAsTheyCame) {
    EXPECT_EQ(Answer("norvad3 --\x01% "), "unrecognised option '--\x01%'\n");
    EXPECT_EQ(Answer("norvad3 \x01\x02\x03\x04\x05 --\x06%value%\xFF "), "unrecognised option '--\x06%value%\xFF'\n");
    EXPECT_EQ(Answer("norvad3 --\x01 "), "unrecognised option '--\x01'\n");
}

TEST_F(Command, WordsThatHoldEveryByteAreRefused) {
    std::string every;
    for (int code = 1; code <= 0xFF; ++code) {
        const auto c = static_cast<char>(code);
        if (c == '"' || c == '\'' || c == '\\') every += '\\';
        if (c != '\n') every += c;
    }

    EXPECT_EQ(Answer("norvad3 \"" + every + "\" -s "), "the command line holds every character\n");
    every.erase(every.find('%'), 1);
    EXPECT_EQ(Answer("norvad3 \"" + every + "\" -0 50 "), "OK") << "there is nothing to hide";
}

TEST_F(Command, AFailureInAHandlerEndsTheCommandWithItsText) {
    msrp->act = [](std::ostream& answer) {
        answer << "before ";
        throw std::runtime_error("boom");
    };

    EXPECT_EQ(Answer("norvad3 -0 50 "), "before boom\n");

    EXPECT_EQ(Times("ptp values"), 0);
    EXPECT_THAT(doors.driver.records, IsEmpty());
}

TEST_F(Command, QuotesAndBackslashesHoldWordsTogether) {
    EXPECT_EQ(Answer("norvad3 --msrp \"two words\" "), "msrp=two words;");
    EXPECT_EQ(Answer("norvad3 --msrp 'two words' "), "msrp=two words;");
    EXPECT_EQ(Answer("norvad3 --msrp it\\'s "), "msrp=it's;");
}

TEST_F(Command, TabsSeparateLikeBlanks) {
    EXPECT_EQ(Answer("norvad3\t--msrp\ta\t--ptp  b"), "msrp=a;ptp=b;");
}

TEST_F(Command, AnUnknownEscapeIsAnsweredWithTheTokenizersText) {
    EXPECT_EQ(Answer("norvad3 \\x "), "unknown escape sequence\n");
    EXPECT_EQ(Answer("norvad3 \\"), "cannot end with escape\n");
}

}  // namespace
}  // namespace norvad::test
