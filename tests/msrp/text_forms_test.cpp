// The records in words.

#include "msrp/msrp_attributes.h"
#include "msrp/msrp_dump.h"
#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::HasSubstr;

TalkerFirstValue SampleTalker() {
    return {{0x00, 0x1B, 0x21, 0x0A, 0x0B, 0xFC, 0x00, 0x05},  // stream id
            {0x91, 0xE0, 0xF0, 0x00, 0xFE, 0x01},              // destination
            2,
            224,
            1,
            0x70,
            139264};
}

TEST(FailureText, NamesEveryCode) {
    constexpr const char* texts[] = {"Unknown error",
                                     "Insufficient bandwidth",
                                     "Insufficient Bridge resources",
                                     "Insufficient bandwidth for Traffic Class",
                                     "StreamID in use by another Talker",
                                     "Stream destination_address already in use",
                                     "Stream preempted by higher rank",
                                     "Reported latency has changed",
                                     "Egress port is not AVB capable",
                                     "Use a different destination_address",
                                     "Out of MSRP resources",
                                     "Out of MMRP resources",
                                     "Cannot store destination_address",
                                     "Requested priority is not an SR Class (3.3) priority",
                                     "MaxFrameSize (35.2.2.8.4(a)) is too large for media",
                                     "msrpMaxFanInPorts (35.2.1.4(f)) limit has been reached",
                                     "Changes in FirstValue for a registered StreamID",
                                     "VLAN is blocked on this egress port (Registration Forbidden)",
                                     "VLAN tagging is disabled on this egress port (untagged set)",
                                     "SR class priority mismatch"};
    for (uint8_t code = 0; code < 20; ++code) EXPECT_STREQ(FailureText(code), texts[code]);
    for (int code = 20; code < 256; ++code) EXPECT_STREQ(FailureText(static_cast<uint8_t>(code)), " Unknown");
}

TEST(RecordText, TalkerShowsIdDestinationAndLatency) {
    EXPECT_EQ(Talker(SampleTalker(), 0).Text(),
              "[MSRP] Talker: 00:1b:21:0a:0b:fc:00:05: MAC: 91:e0:f0:00:fe:01: AccLatency = 0x22000 (139264ns)");
}

TEST(RecordText, TalkerFailedAddsBridgeAndReason) {
    const TalkerFailed record({SampleTalker(), {0x80, 0x00, 0x02, 0x00, 0x5E, 0x10, 0x20, 0x30}, 8}, 0);

    EXPECT_EQ(record.Text(),
              "[MSRP] TalkerFailed: 00:1b:21:0a:0b:fc:00:05: MAC: 91:e0:f0:00:fe:01: AccLatency = 0x22000 (139264ns)"
              "\tBridge ID 80:00:02:00:5e:10:20:30:\tError code: Egress port is not AVB capable");
}

TEST(RecordText, UnknownFailureCodeKeepsItsLeadingBlank) {
    const TalkerFailed record({SampleTalker(), {}, 20}, 0);

    EXPECT_THAT(record.Text(), HasSubstr("\tError code:  Unknown"));
}

TEST(RecordText, ListenerNamesItsDeclaration) {
    constexpr std::pair<ListenerDeclaration, const char*> names[] = {
        {ListenerDeclaration::IGNORE, "IGNORE"},
        {ListenerDeclaration::ASKING_FAILED, "ASKING_FAILED"},
        {ListenerDeclaration::READY, "READY"},
        {ListenerDeclaration::READY_FAILED, "READY_FAILED"},
        {static_cast<ListenerDeclaration>(4), "UNKNOWN"},
    };
    for (const auto& [declaration, name] : names) {
        Listener record({0x00, 0x1B, 0x21, 0x0A, 0x0B, 0xFC, 0x00, 0x05}, 0);
        record.registeredDeclaration = declaration;
        EXPECT_EQ(record.Text(), std::string("[MSRP] Listener:001b210a0bfc:0005 decl:") + name);
    }
}

TEST(RecordText, ListenerThatIsOnlyDeclaredShowsWhatIsDeclared) {
    Listener record(Stream(1), 0);
    record.propagatedDeclaration = ListenerDeclaration::READY_FAILED;
    record.sources.Add(1);
    EXPECT_THAT(record.Text(), HasSubstr("decl:READY_FAILED"));

    record.registeredDeclaration = ListenerDeclaration::READY;
    record.state.registrar = RegistrarState::IN;
    EXPECT_THAT(record.Text(), HasSubstr("decl:READY"));
    EXPECT_THAT(record.Text(), ::testing::Not(HasSubstr("FAILED")));
}

TEST(RecordText, DomainShowsClassPriorityAndVlan) {
    EXPECT_EQ(Domain({6, 3, 2}, 0).Text(), "[MSRP] Domain:6 Pri3 VLAN2");
}

TEST(Dump, TalkerIsWrittenLineByLine) {
    CapturedLog watch(3);
    DumpTalker(1, SampleTalker(), 0);
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TalkerAdvertise: on port 1\n"));
    EXPECT_THAT(text, HasSubstr("\tStream ID 0x001b210a0bfc:0005\n"));
    EXPECT_THAT(text, HasSubstr("\tDA: 0x91e0f000fe01:0x0002\n"));
    EXPECT_THAT(text, HasSubstr("\tMaxFrameSize 224 MaxIntervalFrame 1 DataFramePriority 3 AccumulatedLatency "
                                "139264\n"));
    EXPECT_THAT(text, HasSubstr("\tAttributeEvent[0] = New\n\n"));
}

TEST(Dump, TalkerFailedAddsItsCode) {
    CapturedLog watch(3);
    DumpTalkerFailed(0, {SampleTalker(), {}, 8}, 3);
    const std::string text = watch.Text();

    EXPECT_THAT(text, HasSubstr("[SW-MSRP] TalkerFailed: on port 0\n"));
    EXPECT_THAT(text, HasSubstr("\tAttributeEvent[0] = JoinMt\n\n"));
    EXPECT_THAT(text, HasSubstr("\tFailure code 8\n\n"));
}

TEST(Dump, ListenerNamesEventAndDeclaration) {
    constexpr const char* events[] = {"New", "JoinIn", "In", "JoinMt", "Mt", "Lv", "Unknown"};
    constexpr const char* declarations[] = {"Ignore", "AskingFailed", "Ready", "Failed", "Unknown"};
    for (uint8_t event = 0; event < 7; ++event) {
        for (uint8_t declaration = 0; declaration < 5; ++declaration) {
            CapturedLog watch(3);
            DumpListener(0, {Stream(5)}, event, declaration);
            const std::string text = watch.Text();

            EXPECT_THAT(text, HasSubstr("[SW-MSRP] ListenerVector: on port 0\n"));
            EXPECT_THAT(text, HasSubstr("\tStream ID 0x001b21010203:0005\n"));
            EXPECT_THAT(text, HasSubstr(std::string("\tAttributeEvent[0] = ") + events[event] + "\n"));
            EXPECT_THAT(text, HasSubstr(std::string("\tAttributeType[0] = ") + declarations[declaration] + "\n\n"));
        }
    }
}

TEST(Dump, BelowLevelThreeNothingIsWritten) {
    CapturedLog watch(2);
    DumpTalker(1, SampleTalker(), 0);

    EXPECT_EQ(watch.Text(), "");
}

}  // namespace
}  // namespace norvad::test
