#include "lab/network/program/run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "lab/common/errors.h"
#include "lab/network/program/bridge_logs.h"

namespace norvad::test {
namespace {

using namespace network;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr auto twoInARow = R"(
title: Two in a row
duration: 6s
bridges:
  - {row: 2, clock: {spread: 50ppm}, link: {rate: 100M, loss: 1%}}
stations:
  - {name: stage, at: b1, talk: 2}
  - {name: hall, at: b2, listen: stage}
events:
  - {at: 4s, kill: b2}
  - {at: 5s, start: b2}
)";

std::string ContentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A file that is run, in a folder of its own.
class ARun : public testing::Test {
protected:
    ARun() {
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "row.yaml") << twoInARow;
    }
    ~ARun() override { std::filesystem::remove_all(folder); }

    Options AskedFor(const std::string& name) const {
        Options options;
        options.file = folder / "row.yaml";
        options.directory = folder / name;
        options.captures = {"b1.1"};
        options.logs = {{"b1:PTP=3", "b1", LogCategory::PTP, 3},
                        {"b1:MRP=6", "b1", LogCategory::MRP, 6},
                        {"b2:IOCTL=1", "b2", LogCategory::IOCTL, 1}};
        return options;
    }

    std::map<std::string, std::string> FilesOf(const Options& options) const {
        std::map<std::string, std::string> files;
        EXPECT_EQ(network::Run(options), 0);
        for (const auto& entry : std::filesystem::directory_iterator(options.directory)) {
            files[entry.path().filename()] = ContentOf(entry.path());
        }
        return files;
    }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("norvad-network-run-" + std::to_string(getpid()));
};

TEST_F(ARun, LeavesTheSameBytesEveryTimeButForAddressesInLogs) {
    auto first = FilesOf(AskedFor("first"));
    auto second = FilesOf(AskedFor("second"));

    EXPECT_THAT(
        first, testing::IsSupersetOf({testing::Key("index.html"), testing::Key("time.csv"), testing::Key("latency.csv"),
                                      testing::Key("ports.csv"), testing::Key("queues.svg"),
                                      testing::Key("latency.svg"), testing::Key("b1.1.pcap"), testing::Key("b1.log")}));
    const std::regex address("\\(0x[0-9a-f]+\\)");
    first["b1.log"] = std::regex_replace(first["b1.log"], address, "()");
    second["b1.log"] = std::regex_replace(second["b1.log"], address, "()");
    EXPECT_EQ(first, second);
}

TEST_F(ARun, KeepsTheLogOfEachBridgeWithItsOwnLevelsAndTheTime) {
    const auto files = FilesOf(AskedFor("logs"));
    const std::string& left = files.at("b1.log");
    const std::string& right = files.at("b2.log");

    EXPECT_THAT(left, StartsWith("0.000000000 ["));
    EXPECT_THAT(left, testing::ContainsRegex("\n[0-5]\\.[0-9]{9} \\[SW-PTP\\] Port 1 IS AVB capable\n"));
    EXPECT_THAT(left, HasSubstr("Applicant state"));
    EXPECT_THAT(left, Not(HasSubstr("EnableMulticast")));
    EXPECT_THAT(right, HasSubstr("EnableMulticast"));
    EXPECT_THAT(right, Not(HasSubstr("Applicant state")));
    EXPECT_THAT(right, Not(HasSubstr("SIGTERM")));
}

TEST_F(ARun, NeedsABridgeForALog) {
    Options options = AskedFor("none");
    options.logs = {{"b9:PTP=1", "b9", LogCategory::PTP, 1}};

    try {
        network::Run(options);
        ADD_FAILURE();
    } catch (const lab::StartError& error) {
        EXPECT_STREQ(error.what(), "--log b9:PTP=1: there is no bridge 'b9'");
    }
}

TEST(ALogLine, EndsOnceAndKeepsWhatTheDaemonWrote) {
    EXPECT_EQ(LogLine(12'345'678'901, "[SW-PTP] text"), "12.345678901 [SW-PTP] text\n");
    EXPECT_EQ(LogLine(5, "two\n lines\n"), "0.000000005 two\n lines\n");
    EXPECT_EQ(LogLine(0, ""), "0.000000000 \n");
}

}  // namespace
}  // namespace norvad::test
