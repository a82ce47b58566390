// What an operator is told.

#include <boost/program_options.hpp>
#include <sstream>

#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::HasSubstr;

class MsrpControl : public MsrpBridge {
protected:
    MsrpControl() { Raise({0, 1}); }
};

TEST_F(MsrpControl, TheOptionsAreListedWithTheirHelp) {
    boost::program_options::options_description options;
    msrp.AddControlOptions(options);
    std::ostringstream listing;
    listing << options;

    EXPECT_THAT(listing.str(), HasSubstr("-r [ --msrp ]"));
    EXPECT_THAT(listing.str(), HasSubstr("show MSRP entries"));
    EXPECT_THAT(listing.str(), HasSubstr("-o [ --dom ]"));
    EXPECT_THAT(listing.str(), HasSubstr("show MSRP domain entries"));
    EXPECT_THAT(listing.str(), HasSubstr("-l [ --listenerlv ] arg"));
    EXPECT_THAT(listing.str(), HasSubstr("send EVENT_LV to MSRP listener entry n"));
    EXPECT_THAT(listing.str(), HasSubstr("-t [ --talkerlv ] arg"));
    EXPECT_THAT(listing.str(), HasSubstr("send EVENT_LV to MSRP talker entry n"));
}

TEST_F(MsrpControl, MsrpListsTalkersFailedTalkersAndListenersPortByPort) {
    ReceiveListener(1, Stream(1));
    ReceiveTalkerFailed(0, Stream(2));
    ReceiveTalker(0, Stream(1));

    EXPECT_EQ(Control({"--msrp"}),
              "Port 0\n"
              "[MSRP] Talker: 00:1b:21:01:02:03:00:01: MAC: 91:e0:f0:00:00:01: AccLatency = 0x223e8 (140264ns) "
              "Applicant VO Registrar IN\n"
              "[MSRP] TalkerFailed: 00:1b:21:01:02:03:00:02: MAC: 91:e0:f0:00:00:02: AccLatency = 0x223e8 (140264ns)"
              "\tBridge ID 80:00:02:09:09:09:09:09:\tError code: Insufficient bandwidth Applicant VO Registrar IN\n"
              "[MSRP] Listener:001b21010203:0001 decl:READY Applicant VN Registrar MT\n"
              "Port 1\n"
              "[MSRP] Talker: 00:1b:21:01:02:03:00:01: MAC: 91:e0:f0:00:00:01: AccLatency = 0x223e8 (140264ns) "
              "Applicant VN Registrar MT\n"
              "[MSRP] TalkerFailed: 00:1b:21:01:02:03:00:02: MAC: 91:e0:f0:00:00:02: AccLatency = 0x223e8 (140264ns)"
              "\tBridge ID 80:00:02:09:09:09:09:09:\tError code: Insufficient bandwidth Applicant VN Registrar MT\n"
              "[MSRP] Listener:001b21010203:0001 decl:READY Applicant VO Registrar IN\n"
              "Port 2\nPort 3\nPort 4\nPort 5\nPort 6\n");
}

TEST_F(MsrpControl, DomListsTheDomainsPortByPort) {
    msrp.PortUp(1);

    EXPECT_EQ(Control({"-o"}),
              "Port 0\n"
              "Port 1\n"
              "[MSRP] Domain:5 Pri2 VLAN2 Applicant VN Registrar MT\n"
              "[MSRP] Domain:6 Pri3 VLAN2 Applicant VN Registrar MT\n"
              "Port 2\nPort 3\nPort 4\nPort 5\nPort 6\n");
}

TEST_F(MsrpControl, TheFirstOfSeveralOptionsRuns) {
    EXPECT_EQ(Control({"--talkerlv", "0", "--listenerlv", "0"}), "Listener not found");
    EXPECT_EQ(Control({"--talkerlv", "0", "--listenerlv", "0", "--dom"}), Control({"--dom"}));
    msrp.PortUp(0);
    EXPECT_EQ(Control({"--dom", "--msrp"}), Control({"--msrp"}));
    EXPECT_NE(Control({"--msrp"}), Control({"--dom"}));
}

TEST_F(MsrpControl, NoOptionOfItsOwnAnswersNothing) {
    EXPECT_EQ(Control({}), "");
}

TEST_F(MsrpControl, WithoutEntriesThereIsNothingToLeave) {
    CapturedLog watch(0);
    EXPECT_EQ(Control({"-l", "0"}), "Listener not found");
    EXPECT_EQ(Control({"-t", "0"}), "Talker not found");
    EXPECT_EQ(Control({"--listenerlv=-1"}), "Listener not found");
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] ListenerLeave\n"));
    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TalkerLeave\n"));
}

TEST_F(MsrpControl, EntriesAreNumberedAcrossThePorts) {
    ReceiveListener(1, Stream(3));
    ReceiveListener(0, Stream(1));
    ReceiveListener(0, Stream(2));

    EXPECT_EQ(Control({"-l", "2"}),
              "Sending LV to: [MSRP] Listener:001b21010203:0003 decl:READY Applicant VO Registrar IN\n");
    EXPECT_EQ(msrp.FindListener(Stream(1), 0)->state.registrar, RegistrarState::IN);
    EXPECT_EQ(msrp.FindListener(Stream(2), 0)->state.registrar, RegistrarState::IN);
    EXPECT_EQ(msrp.FindListener(Stream(3), 1)->state.registrar, RegistrarState::LV);
    EXPECT_EQ(Control({"-l", "3"}), "Listener not found");
}

TEST_F(MsrpControl, ATalkerLeavesAsIfItsNeighbourHadWithdrawn) {
    ReceiveTalker(0, Stream(1));
    EXPECT_THAT(Control({"-t", "0"}), HasSubstr("Sending LV to: [MSRP] Talker: 00:1b:21:01:02:03:00:01:"));
    EXPECT_TRUE(msrp.FindTalker(Stream(1), 0)->IsRegistered());

    RunLeaveTime();
    EXPECT_EQ(msrp.FindTalker(Stream(1), 0), nullptr);
}

}  // namespace
}  // namespace norvad::test
