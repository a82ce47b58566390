#include "ctl/commands.h"

#include <gtest/gtest.h>

#include "ctl/options.h"

namespace norvad::ctl {
namespace {

using Words = std::vector<std::string>;

TEST(Commands, AreTheDaemonsRequests) {
    const std::pair<Words, const char*> cases[] = {
        {{"log", "mrp", "0"}, "-d mrp 0"}, {{"log", "ioctl", "9"}, "-d ioctl 9"},
        {{"priority", "0"}, "-m 0"},       {{"priority", "255"}, "-m 255"},
        {{"window", "running"}, "-w 0"},   {{"window", "growing"}, "-w 1"},
        {{"force", "none"}, "-a 0"},       {{"force", "0"}, "-a 1"},
        {{"force", "1"}, "-a 2"},          {{"force", "1", "0"}, "-a 3"},
        {{"egress", "0", "2"}, "-0 2"},    {{"egress", "1", "99"}, "-1 99"},
        {{"priority", "007"}, "-m 7"},
    };
    for (const auto& [words, request] : cases) EXPECT_EQ(RequestFor(words), request) << testing::PrintToString(words);
}

// The daemon answers OK to a good part of these.
TEST(Commands, RefuseWhatMakesNoSense) {
    const Words cases[] = {
        {"log"},
        {"log", "mrp"},
        {"log", "lldp", "1"},
        {"log", "mrp", "10"},
        {"log", "mrp", "-1"},
        {"log", "mrp", "1", "2"},
        {"priority"},
        {"priority", "256"},
        {"priority", "-1"},
        {"priority", ""},
        {"priority", "1 -a"},
        {"window", "0"},
        {"window"},
        {"force"},
        {"force", "2"},
        {"force", "0", "0"},
        {"force", "none", "0"},
        {"egress", "0"},
        {"egress", "2", "50"},
        {"egress", "0", "1"},
        {"egress", "0", "100"},
        {"egress", "0", "half"},
    };
    for (const Words& words : cases) EXPECT_THROW(RequestFor(words), UsageError) << testing::PrintToString(words);
}

TEST(Commands, AreNotTheViews) {
    EXPECT_FALSE(RequestFor({}));
    EXPECT_FALSE(RequestFor({"ports"}));
}

}  // namespace
}  // namespace norvad::ctl
