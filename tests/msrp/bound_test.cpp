// How many values a neighbour gets records for. 250 frames of one neighbour once took 576 MB.

#include "base/log.h"
#include "tests/msrp/msrp_bridge.h"

namespace norvad::test {
namespace {

using ::testing::ElementsAre;

constexpr uint32_t bound = MSRPDB::maxReceived;

StreamID StreamNumber(uint32_t number) {
    return {0x02,
            0,
            0,
            0,
            2,
            static_cast<uint8_t>(number >> 16),
            static_cast<uint8_t>(number >> 8),
            static_cast<uint8_t>(number)};
}

TalkerFailedFirstValue FailedOf(const StreamID& id) {
    return {TalkerOf(id), {0x80, 0, 1, 2, 3, 4, 5, 6}, 1};
}

DomainFirstValue DomainNumber(uint32_t number) {
    return {7, 1, static_cast<uint16_t>(number)};
}

class MsrpBound : public MsrpBridge {
protected:
    // As if the neighbour had sent it.
    void Declare(uint8_t type, uint32_t number, uint8_t port, Event event = Event::RNEW) {
        const StreamID id = StreamNumber(number);
        if (type == TALKER_ADVERTISE) msrp.AddTalker(TalkerOf(id), event, port);
        if (type == TALKER_FAILED) msrp.AddTalkerFailed(FailedOf(id), event, port);
        if (type == LISTENER_VECTOR) msrp.AddListener(id, ListenerDeclaration::READY, event, port);
        if (type == DOMAIN) msrp.AddDomain(DomainNumber(number), event, port);
    }
    void Fill(uint8_t type, uint8_t port, uint32_t first = 0) {
        for (uint32_t number = first; number < first + bound; ++number) Declare(type, number, port);
    }
    MRPAttribute* Find(uint8_t type, uint32_t number, uint8_t port) {
        const StreamID id = StreamNumber(number);
        if (type == TALKER_ADVERTISE) return msrp.FindTalker(id, port);
        if (type == TALKER_FAILED) return msrp.FindTalkerFailed(id, port);
        if (type == LISTENER_VECTOR) return msrp.FindListener(id, port);
        return msrp.FindDomain(DomainNumber(number), port);
    }
    uint32_t Count(uint8_t type, uint8_t port) {
        uint32_t count = 0;
        msrp.ForEach(port, type, [&](MRPAttribute&) { ++count; });
        return count;
    }
};

TEST_F(MsrpBound, TheFirstValueBeyondItIsRefusedWithALine) {
    for (const uint8_t type : {TALKER_ADVERTISE, TALKER_FAILED, LISTENER_VECTOR, DOMAIN}) {
        clock.AdvanceMs(1000);
        CapturedLog filling(0);
        Fill(type, 0);
        EXPECT_EQ(filling.Text(), "");
        EXPECT_NE(Find(type, bound - 1, 0), nullptr);

        CapturedLog watch(0);
        Declare(type, bound, 0);

        EXPECT_EQ(Find(type, bound, 0), nullptr);
        EXPECT_EQ(Count(type, 0), 16'384u);
        EXPECT_EQ(watch.Text(),
                  "[SW-MRP] Port(0) refuses attributes of type " + std::to_string(type) + " beyond 16384\n");
    }
}

TEST_F(MsrpBound, EveryDeclaringEventIsRefusedAndNoOtherIsSaidToBe) {
    Fill(LISTENER_VECTOR, 0);
    for (const Event event : {Event::RNEW, Event::RJOIN_IN, Event::RIN, Event::RJOINMT}) {
        Declare(LISTENER_VECTOR, bound, 0, event);
        EXPECT_EQ(Find(LISTENER_VECTOR, bound, 0), nullptr) << Name(event);
    }
    clock.AdvanceMs(1000);
    CapturedLog watch(0);

    Declare(LISTENER_VECTOR, bound, 0, Event::RMT);
    Declare(LISTENER_VECTOR, bound, 0, Event::RLV);

    EXPECT_EQ(watch.Text(), "");
}

TEST_F(MsrpBound, PortsAndTypesAreCountedApart) {
    Fill(TALKER_ADVERTISE, 0);

    Declare(TALKER_ADVERTISE, bound, 1);
    Declare(TALKER_FAILED, bound, 0);
    Declare(LISTENER_VECTOR, bound, 0);

    EXPECT_NE(Find(TALKER_ADVERTISE, bound, 1), nullptr);
    EXPECT_NE(Find(TALKER_FAILED, bound, 0), nullptr);
    EXPECT_NE(Find(LISTENER_VECTOR, bound, 0), nullptr);
}

TEST_F(MsrpBound, WhatIsKnownIsRefreshedRegisteredAgainAndRemovedAsEver) {
    Fill(TALKER_ADVERTISE, 0);
    Talker* talker = msrp.FindTalker(StreamNumber(7), 0);

    Declare(TALKER_ADVERTISE, 7, 0, Event::RLV);
    EXPECT_EQ(talker->state.registrar, RegistrarState::LV);
    Declare(TALKER_ADVERTISE, 7, 0, Event::RJOIN_IN);
    EXPECT_EQ(talker->state.registrar, RegistrarState::IN);
    msrp.RunAttributeStateMachines(talker, 0, Event::FLUSH);
    EXPECT_FALSE(talker->IsRegistered());
    Declare(TALKER_ADVERTISE, 7, 0, Event::RNEW);
    EXPECT_TRUE(talker->IsRegistered());

    msrp.RemoveAttribute(*talker);
    EXPECT_EQ(Find(TALKER_ADVERTISE, 7, 0), nullptr);
}

TEST_F(MsrpBound, ARemovalMakesRoomForOneMore) {
    Fill(TALKER_ADVERTISE, 0);
    msrp.RemoveAttribute(*Find(TALKER_ADVERTISE, 7, 0));

    Declare(TALKER_ADVERTISE, bound, 0);
    Declare(TALKER_ADVERTISE, bound + 1, 0);

    EXPECT_NE(Find(TALKER_ADVERTISE, bound, 0), nullptr);
    EXPECT_EQ(Find(TALKER_ADVERTISE, bound + 1, 0), nullptr);
}

TEST_F(MsrpBound, CopiesAreNeverRefused) {
    Raise({0, 1});
    Fill(TALKER_ADVERTISE, 0);
    Fill(TALKER_ADVERTISE, 1, bound);
    Fill(LISTENER_VECTOR, 0, 2 * bound);

    EXPECT_EQ(Count(TALKER_ADVERTISE, 0), 2 * bound);
    EXPECT_EQ(Count(TALKER_ADVERTISE, 1), 2 * bound);
    Declare(LISTENER_VECTOR, 0, 1);
    EXPECT_TRUE(IsListenerDeclared(0, StreamNumber(0)));
}

TEST_F(MsrpBound, ACopyThatTheNeighbourRegistersTooDoesNotCount) {
    Raise({0, 1});
    Declare(TALKER_ADVERTISE, 2 * bound, 0);
    Declare(TALKER_ADVERTISE, 2 * bound, 1);
    ASSERT_TRUE(IsRegistered(Find(TALKER_ADVERTISE, 2 * bound, 1)));
    CapturedLog watch(0);

    Fill(TALKER_ADVERTISE, 1);

    EXPECT_EQ(watch.Text(), "");
    EXPECT_NE(Find(TALKER_ADVERTISE, bound - 1, 1), nullptr);
}

TEST_F(MsrpBound, TheBridgesOwnDomainsAreNeverRefused) {
    Fill(DOMAIN, 0);

    msrp.PortUp(0);

    EXPECT_NE(msrp.FindDomain({6, 3, 2}, 0), nullptr);
    EXPECT_NE(msrp.FindDomain({5, 2, 2}, 0), nullptr);
}

TEST_F(MsrpBound, TheBridgesOwnDomainsDoNotCount) {
    msrp.PortUp(0);
    CapturedLog watch(0);

    Fill(DOMAIN, 0);

    EXPECT_EQ(watch.Text(), "");
    EXPECT_EQ(Count(DOMAIN, 0), bound + 2);
}

TEST_F(MsrpBound, AFailedTalkerStaysWhenTheTalkerIsRefused) {
    Declare(TALKER_FAILED, bound, 0);
    Fill(TALKER_ADVERTISE, 0);

    Declare(TALKER_ADVERTISE, bound, 0);

    EXPECT_TRUE(IsRegistered(Find(TALKER_FAILED, bound, 0)));
    EXPECT_EQ(Find(TALKER_ADVERTISE, bound, 0), nullptr);
}

TEST_F(MsrpBound, RefusalsAreSaidOnceASecondAndPort) {
    Fill(TALKER_ADVERTISE, 0);
    Fill(TALKER_ADVERTISE, 1);
    Fill(TALKER_FAILED, 0);
    CapturedLog watch(0);

    Declare(TALKER_ADVERTISE, bound, 0);
    Declare(TALKER_ADVERTISE, bound + 1, 0);
    Declare(TALKER_FAILED, bound, 0);
    Declare(TALKER_ADVERTISE, bound, 1);
    clock.AdvanceMs(999);
    Declare(TALKER_ADVERTISE, bound, 0);
    clock.AdvanceMs(1);
    Declare(TALKER_FAILED, bound, 0);
    Declare(TALKER_ADVERTISE, bound, 0);

    EXPECT_THAT(watch.Lines(), ElementsAre("[SW-MRP] Port(0) refuses attributes of type 1 beyond 16384",
                                           "[SW-MRP] Port(1) refuses attributes of type 1 beyond 16384",
                                           "[SW-MRP] Port(0) refuses attributes of type 2 beyond 16384"));
}

}  // namespace
}  // namespace norvad::test
