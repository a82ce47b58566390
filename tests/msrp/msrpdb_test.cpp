// Which values get records, and which events reach them.

#include "msrp/msrpdb.h"

#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr uint32_t hopLatencyNs = 139264;

// A database that keeps the indications it is given, as "NEW talker".
class Database final : public MSRPDB {
public:
    explicit Database(TimerService& timers) : MSRPDB(timers, 7) {}
    using MSRPDB::DeleteAttribute;

    std::vector<std::string> indications;

protected:
    void Propagate(MRPAttribute& attribute, Event indication, uint8_t) override {
        constexpr const char* names[] = {"", "talker", "failed", "listener", "domain"};
        indications.push_back(std::string(Name(indication)) + " " + names[attribute.type]);
    }
    void TransmitPdu(uint8_t) override {}
};

class MsrpDatabase : public ::testing::Test {
protected:
    SteppedClock clock;
    TimerService timers{clock};
    Database database{timers};
    const StreamID id = Stream(1);
    const TalkerFirstValue talker = TalkerOf(id);
    const TalkerFailedFirstValue failed = {talker, {0x80, 0, 1, 2, 3, 4, 5, 6}, 1};
    const DomainFirstValue domain = {6, 3, 2};
};

TEST_F(MsrpDatabase, OnlyDeclaringEventsIntroduceAValue) {
    for (uint8_t number = 0; number <= static_cast<uint8_t>(Event::UNDEFINED); ++number) {
        const auto event = static_cast<Event>(number);
        const bool creates = number <= 3 || event == Event::NEW || event == Event::JOIN;
        Database fresh(timers);

        EXPECT_TRUE(fresh.AddTalker(talker, event, 0));
        EXPECT_TRUE(fresh.AddTalkerFailed(failed, event, 1));
        EXPECT_TRUE(fresh.AddListener(id, ListenerDeclaration::READY, event, 2));
        EXPECT_TRUE(fresh.AddDomain(domain, event, 3));

        EXPECT_EQ(fresh.FindTalker(id, 0) != nullptr, creates) << Name(event);
        EXPECT_EQ(fresh.FindTalkerFailed(id, 1) != nullptr, creates) << Name(event);
        EXPECT_EQ(fresh.FindListener(id, 2) != nullptr, creates) << Name(event);
        EXPECT_EQ(fresh.FindDomain(domain, 3) != nullptr, creates) << Name(event);
    }
}

TEST_F(MsrpDatabase, DroppingAnUnknownValueLogsNothing) {
    CapturedLog watch(6);
    database.AddTalker(talker, Event::RMT, 0);
    database.AddTalkerFailed(failed, Event::RLV, 0);
    database.AddListener(id, ListenerDeclaration::READY, Event::LV, 0);
    database.AddDomain(domain, Event::RMT, 0);

    EXPECT_EQ(watch.Text(), "");
}

TEST_F(MsrpDatabase, ATalkerGetsTheHopLatencyOncePerRegistration) {
    database.AddTalker(talker, Event::RNEW, 0);
    EXPECT_EQ(database.FindTalker(id, 0)->value.accumulatedLatency, 1000 + hopLatencyNs);

    database.AddTalker(talker, Event::RNEW, 0);
    database.AddTalker(talker, Event::RJOIN_IN, 0);
    EXPECT_EQ(database.FindTalker(id, 0)->value.accumulatedLatency, 1000 + hopLatencyNs);
}

TEST_F(MsrpDatabase, AFailedTalkerGetsTheHopLatencyOncePerRegistration) {
    database.AddTalkerFailed(failed, Event::RNEW, 0);
    database.AddTalkerFailed(failed, Event::RJOINMT, 0);

    EXPECT_EQ(database.FindTalkerFailed(id, 0)->value.talker.accumulatedLatency, 1000 + hopLatencyNs);
}

TEST_F(MsrpDatabase, TheHopLatencyWrapsAtThirtyTwoBits) {
    TalkerFirstValue late = talker;
    late.accumulatedLatency = 0xFFFFFFFF;
    database.AddTalker(late, Event::RNEW, 0);

    EXPECT_EQ(database.FindTalker(id, 0)->value.accumulatedLatency, hopLatencyNs - 1);
}

TEST_F(MsrpDatabase, ATalkerThatLeftComesBackWithTheValueThatItHasThen) {
    database.AddTalker(talker, Event::RNEW, 0);
    Talker* record = database.FindTalker(id, 0);
    database.RunAttributeStateMachines(record, 0, Event::FLUSH);
    TalkerFirstValue changed = talker;
    changed.maxFrameSize = 500;
    database.AddTalker(changed, Event::RNEW, 0);

    EXPECT_EQ(database.FindTalker(id, 0), record);
    EXPECT_EQ(record->value.maxFrameSize, 500);
    EXPECT_EQ(record->value.accumulatedLatency, 1000 + hopLatencyNs);
}

TEST_F(MsrpDatabase, ATalkerReplacesAFailedTalkerBeforeItIsAdded) {
    database.AddTalkerFailed(failed, Event::RNEW, 0);
    CapturedLog watch(1);
    database.AddTalker(talker, Event::RNEW, 0);
    const std::string text = watch.Text();

    EXPECT_EQ(database.FindTalkerFailed(id, 0), nullptr);
    ASSERT_NE(database.FindTalker(id, 0), nullptr);
    const size_t replaced = text.find("[SW-MSRP] Port(0) Remove Talker failed for talker\n");
    const size_t removed = text.find("[SW-MSRP] Port(0) Remove: [MSRP] TalkerFailed: ");
    const size_t added = text.find("[SW-MSRP] Port(0) Add:\n     [MSRP] Talker: ");
    ASSERT_NE(added, std::string::npos);
    EXPECT_LT(replaced, removed);
    EXPECT_LT(removed, added);
}

TEST_F(MsrpDatabase, AFailedTalkerLeavesTheTalkerAlone) {
    database.AddTalker(talker, Event::RNEW, 0);
    database.AddTalkerFailed(failed, Event::RNEW, 0);

    EXPECT_NE(database.FindTalker(id, 0), nullptr);
    EXPECT_NE(database.FindTalkerFailed(id, 0), nullptr);
}

TEST_F(MsrpDatabase, AFailedTalkerOnAnotherPortStays) {
    database.AddTalkerFailed(failed, Event::RNEW, 1);
    database.AddTalker(talker, Event::RNEW, 0);

    EXPECT_NE(database.FindTalkerFailed(id, 1), nullptr);
}

TEST_F(MsrpDatabase, AListenerWithANewDeclarationIsPropagatedAnewBeforeTheEvent) {
    database.AddListener(id, ListenerDeclaration::ASKING_FAILED, Event::RNEW, 1);
    EXPECT_THAT(database.indications, ElementsAre("NEW listener"));
    database.indications.clear();

    CapturedLog watch(2);
    database.AddListener(id, ListenerDeclaration::READY, Event::RJOIN_IN, 1);
    EXPECT_THAT(watch.Text(), HasSubstr("[SW-MSRP] Port(1) Listener decl type changed to READY\n"));
    EXPECT_THAT(database.indications, ElementsAre("NEW listener", "JOIN listener"));
    database.indications.clear();

    database.AddListener(id, ListenerDeclaration::READY, Event::RJOIN_IN, 1);
    EXPECT_THAT(database.indications, ElementsAre("JOIN listener"));
}

TEST_F(MsrpDatabase, ANewListenerHoldsNothing) {
    database.AddListener(id, ListenerDeclaration::READY_FAILED, Event::RNEW, 1);
    const Listener* listener = database.FindListener(id, 1);

    ASSERT_NE(listener, nullptr);
    EXPECT_EQ(listener->registeredDeclaration, ListenerDeclaration::READY_FAILED);
    EXPECT_FALSE(listener->reservation.active);
    EXPECT_EQ(listener->reservation.bandwidth, 0u);
}

TEST_F(MsrpDatabase, DomainsThatDifferOnlyInTheirVlanAreTwoRecords) {
    database.AddDomain({6, 3, 2}, Event::RNEW, 0);
    database.AddDomain({6, 3, 3}, Event::RNEW, 0);

    Domain* first = database.FindDomain({6, 3, 2}, 0);
    Domain* second = database.FindDomain({6, 3, 3}, 0);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(database.FindDomain({6, 3, 2}, 1), nullptr);
    EXPECT_EQ(database.FindDomain({6, 2, 2}, 0), nullptr);
    EXPECT_EQ(database.FindDomain({5, 3, 2}, 0), nullptr);
}

TEST_F(MsrpDatabase, StreamsDifferByEveryByteOfTheirId) {
    for (size_t byte = 0; byte < id.size(); ++byte) {
        TalkerFirstValue other = talker;
        other.streamId[byte] ^= 0x80;
        database.AddTalker(other, Event::RNEW, 0);
        EXPECT_EQ(database.FindTalker(id, 0), nullptr) << "byte " << byte;
        EXPECT_NE(database.FindTalker(other.streamId, 0), nullptr) << "byte " << byte;
    }
}

TEST_F(MsrpDatabase, RemovingTheLastRecordForgetsTheStream) {
    database.AddTalker(talker, Event::RNEW, 0);
    database.AddListener(id, ListenerDeclaration::READY, Event::RNEW, 1);
    database.RemoveAttribute(*database.FindTalker(id, 0));
    EXPECT_NE(database.FindStream(id), nullptr);
    EXPECT_NE(database.FindListener(id, 1), nullptr);

    database.RemoveAttribute(*database.FindListener(id, 1));
    EXPECT_EQ(database.FindStream(id), nullptr);
}

TEST_F(MsrpDatabase, RemovalIsLoggedWithTheRecord) {
    database.AddDomain(domain, Event::RNEW, 0);
    CapturedLog watch(1);
    database.RemoveAttribute(*database.FindDomain(domain, 0));

    EXPECT_THAT(watch.Text(), HasSubstr("[SW-MSRP] Port(0) Remove: [MSRP] Domain:6 Pri3 VLAN2 \n"));
    EXPECT_EQ(database.FindDomain(domain, 0), nullptr);
}

TEST_F(MsrpDatabase, DeletingAnUnknownTypeIsOnlyLogged) {
    struct Foreign final : MRPAttribute {
        Foreign() : MRPAttribute(5, 0) {}
        std::span<const uint8_t> FirstValue() const override { return {}; }
        std::string Text() const override { return "foreign"; }
    } foreign;
    database.AddTalker(talker, Event::RNEW, 0);
    CapturedLog watch(0);
    database.DeleteAttribute(foreign);

    EXPECT_THAT(watch.Text(), HasSubstr("DeleteAttribute request for unknown attribute type 5\n"));
    EXPECT_NE(database.FindTalker(id, 0), nullptr);
}

TEST_F(MsrpDatabase, APortBeyondTheTableThrows) {
    database.AddTalker(talker, Event::RNEW, 0);

    EXPECT_THROW(database.AddTalker(talker, Event::RNEW, 7), std::out_of_range);
    EXPECT_THROW((void)database.FindTalker(id, 7), std::out_of_range);
    EXPECT_THROW(database.AddDomain(domain, Event::NEW, 7), std::out_of_range);
    EXPECT_EQ(database.FindDomain(domain, 7), nullptr);
}

TEST_F(MsrpDatabase, AnEventThatIsNotReceivedBecomesNone) {
    database.AddTalker(talker, Event::RNEW, 0);
    database.indications.clear();
    CapturedLog watch(0);
    database.AddTalker(talker, ReceiveEvent(static_cast<uint8_t>(Event::FLUSH)), 0);

    EXPECT_THAT(watch.Text(), HasSubstr("Error, invalid RX EVENT 16\n"));
    EXPECT_THAT(database.indications, IsEmpty());
    EXPECT_TRUE(database.FindTalker(id, 0)->IsRegistered());
}

}  // namespace
}  // namespace norvad::test
