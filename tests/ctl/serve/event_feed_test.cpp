#include "ctl/serve/event_feed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/ctl/json_schema.h"

namespace norvad::ctl::test {
namespace {

using testing::HasSubstr;
using testing::Not;

BridgeState StateWithChange(const std::string& text) {
    BridgeState state;
    state.time = {5, 0};
    state.changes.push_back({.kind = ChangeKind::LINK_UP, .text = text});
    return state;
}

TEST(EventFeed, BeginsWithTheHistoryOfTheClock) {
    EventFeed feed(7);
    BridgeState state;
    state.time = {0, 1000};
    state.snapshot.clock = Clock{.state = "SLAVE", .offsetNs = -3};
    feed.Add(state);
    state.time = {0, 2000};
    feed.Add(state);

    EventFeed::Position position;
    const std::string text = feed.Next(position);

    EXPECT_EQ(text.find("retry: 2000\n\nevent: history\ndata: [{\"timeMs\":1,\"clock\":{\"state\":\"SLAVE\","), 0U)
        << text;
    EXPECT_THAT(text, HasSubstr("},{\"timeMs\":2,"));
    EXPECT_THAT(text,
                HasSubstr("\n\nevent: state\ndata: {\"timeMs\":2,\"daemon\":{\"state\":\"answers\",\"problem\":\"\"}"));
    EXPECT_EQ(feed.Next(position), "");
}

TEST(EventFeed, SendsEachChangeOnceAndOnlyTheNewestState) {
    EventFeed feed(7);
    EventFeed::Position position;
    feed.Next(position);
    feed.Add(StateWithChange("one"));
    feed.Add(StateWithChange("two"));

    const std::string text = feed.Next(position);

    EXPECT_THAT(text, HasSubstr("id: 7-1\nevent: change\ndata: {\"version\":1,\"event\":{\"time\":\""));
    EXPECT_THAT(text, HasSubstr("\"kind\":\"link-up\",\"text\":\"one\"}}\n\nid: 7-2\nevent: change\n"));
    EXPECT_EQ(text.find("event: state"), text.rfind("event: state"));
    feed.Add(StateWithChange("three"));
    EXPECT_THAT(feed.Next(position), Not(HasSubstr("two")));
}

TEST(EventFeed, GoesOnBehindAnIdOfItsOwnOnly) {
    EventFeed feed(7);
    for (const char* text : {"one", "two", "three"}) feed.Add(StateWithChange(text));
    const auto changesBehind = [&](const char* id) {
        EventFeed::Position position = feed.PositionBehind(id);
        std::string found;
        const std::string text = feed.Next(position);
        for (const char* word : {"one", "two", "three"}) {
            if (text.find(word) != std::string::npos) found += word;
        }
        return found;
    };

    EXPECT_EQ(changesBehind("7-2"), "three");
    EXPECT_EQ(changesBehind("7-3"), "");
    for (const char* id : {"", "7", "7-", "7-4", "7-18446744073709551615", "6-2", "77-2", "-2", "7-x"}) {
        EXPECT_EQ(changesBehind(id), "onetwothree") << id;
    }
}

TEST(EventFeed, ForgetsOldChangesAndSamples) {
    EventFeed feed(7);
    for (size_t i = 1; i <= EventFeed::mostChanges + 1; ++i) feed.Add(StateWithChange("change"));
    for (size_t i = 1; i <= EventFeed::mostSamples + 1; ++i) {
        BridgeState state;
        state.time = {0, static_cast<suseconds_t>(1000 * i)};
        state.snapshot.clock = Clock{};
        feed.Add(state);
    }

    EventFeed::Position position = feed.PositionBehind("7-1");
    const std::string text = feed.Next(position);

    EXPECT_THAT(text, Not(HasSubstr("id: 7-1\n")));
    EXPECT_THAT(text, HasSubstr("id: 7-2\n"));
    EXPECT_THAT(text, HasSubstr("id: 7-501\n"));
    EXPECT_THAT(text, HasSubstr("data: [{\"timeMs\":2,"));
}

std::string DataOf(const std::string& text, const std::string& event) {
    const size_t data = text.find("event: " + event + "\ndata: ") + event.size() + 14;
    return text.substr(data, text.find('\n', data) - data);
}

TEST(EventFeed, WritesChangesAsTheSchemaDescribes) {
    EventFeed feed(7);
    feed.Add(StateWithChange("one"));
    EventFeed::Position position;

    EXPECT_EQ(SchemaViolation(DataOf(feed.Next(position), "change")), "");
}

// The members that the JSON output has as well are in its shape.
TEST(EventFeed, WritesClockAndPortsAsTheSchemaDescribes) {
    EventFeed feed(7);
    BridgeState state;
    state.snapshot.ports = {{.number = 1, .isUp = true}};
    state.snapshot.clock = Clock{.state = "SLAVE"};
    feed.Add(state);
    EventFeed::Position position;
    const auto event = nlohmann::json::parse(DataOf(feed.Next(position), "state"));

    const nlohmann::json document = {{"version", 1},
                                     {"clock", event["clock"]},
                                     {"ports", event["ports"]},
                                     {"notUnderstood", {{"count", 0}, {"lines", nlohmann::json::array()}}}};

    EXPECT_EQ(SchemaViolation(document.dump()), "");
}

}  // namespace
}  // namespace norvad::ctl::test
