#include "ctl/program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/ctl/fake_bridge.h"
#include "tests/ctl/json_schema.h"

namespace norvad::ctl::test {
namespace {

const std::string streamsAnswer =
    twoStreams + "[MSRP] Listener:0200000000a0:0003 decl:READY_FAILED Applicant VO Registrar IN\n";

class Program : public testing::Test {
protected:
    Program() {
        door.daemon = [this](const std::string& words) {
            return std::vector<FakeControlDoor::Piece>{{answers.at(words), true}};
        };
    }

    ExitStatus Run(std::vector<const char*> arguments) {
        arguments.insert(arguments.begin(), "norvadctl");
        output.str("");
        errors.str("");
        const Options options = ReadOptions(static_cast<int>(arguments.size()), arguments.data());
        return ctl::Run(options, client, {output, errors, false});
    }

    std::map<std::string, std::string> answers = {
        {"norvadctl -s ",
         "Port  0  status: is Up,   STP status: Up,   AVB status: Up,  \n"
         "Port  1  status: is Down\nCPU Port status: is Down\n"},
        {"norvadctl -r ", streamsAnswer},
        {"norvadctl -v ", "Port 1\n[MVRP] Vlan:2 Applicant VO Registrar IN\n"},
        {"norvadctl -o ", "Port 0\n[MSRP] Domain:6 Pri3 VLAN2 Applicant QA Registrar MT\n"},
        {"norvadctl -p ",
         "ST:SLAVE:MC:0x02544efffe440005:LC:0x020000fffe000100:SR:3:PD0:-12ns:PD1:512ns:AD:-7ns:"
         "RMS:12.5:RR0:1.5e-06:RR1:nan:CRR:inf:w:1\n"},
    };
    FakeControlDoor door;
    ControlClient client{door};
    std::ostringstream output, errors;
};

TEST_F(Program, AsksOnlyForTheTableThatIsWanted) {
    EXPECT_EQ(Run({"vlans"}), ExitStatus::DONE);

    EXPECT_EQ(door.taken, std::vector<std::string>{"norvadctl -v "});
    EXPECT_EQ(output.str(), "VLAN  REGISTERED  DECLARED  STATES\n2     port 1      -         1 VO/IN\n");
}

TEST_F(Program, ShowsEverythingOnOneScreen) {
    EXPECT_EQ(Run({}), ExitStatus::DONE);

    EXPECT_EQ(output.str().find("clock SLAVE, grandmaster 0x02544efffe440005, 3 steps away"), 0U) << output.str();
    for (const char* part : {"\nCPU   down", "\n3 streams\n", "\n02:00:00:00:00:a0:00:03  ", "\nVLAN "}) {
        EXPECT_NE(output.str().find(part), std::string::npos) << part;
    }
}

TEST_F(Program, CountsAndPagesWhatTheFiltersLeave) {
    Run({"streams", "--count"});
    EXPECT_EQ(output.str(), "3\n");
    Run({"streams", "--count", "--port", "0"});
    EXPECT_EQ(output.str(), "1\n");

    Run({"streams", "--offset", "1", "--limit", "1"});
    EXPECT_EQ(output.str().find("a0:00:01"), std::string::npos);
    EXPECT_NE(output.str().find("a0:00:02"), std::string::npos);
    EXPECT_EQ(output.str().find("a0:00:03"), std::string::npos);

    Run({"streams", "--offset", "9"});
    const std::string headings = output.str();
    EXPECT_EQ(std::count(headings.begin(), headings.end(), '\n'), 1);
}

TEST_F(Program, TellsByItsStatusWhetherAnythingIsMissing) {
    EXPECT_EQ(Run({"explain", "clock"}), ExitStatus::DONE);
    EXPECT_NE(output.str().find("\nstate          holds"), std::string::npos) << output.str();

    EXPECT_EQ(Run({"explain", "port", "1"}), ExitStatus::FAILED);
    EXPECT_NE(output.str().find("\nmissing: link, port 1\n"), std::string::npos) << output.str();
    EXPECT_EQ(errors.str(), "");
}

TEST_F(Program, SaysWhatItDidNotUnderstandWithoutHandingItToTheTerminal) {
    answers["norvadctl -s "] = "Port  1  status: is Down\n\033[2J\n";

    EXPECT_EQ(Run({"ports"}), ExitStatus::FAILED);

    EXPECT_EQ(errors.str(), "norvadctl: 1 lines of the daemon's answer were not understood:\n  ?[2J\n");
    EXPECT_NE(output.str().find("1     down"), std::string::npos);
}

TEST_F(Program, AsksNothingWhenTheWordsMakeNoSense) {
    const std::vector<const char*> cases[] = {
        {"nonsense"},
        {"ports", "streams"},
        {"--port", "7"},
        {"--port", "-1"},
        {"--limit", "1x"},
        {"--stream", "02:"},
        {"streams", "--patience", ""},
        {"--unknown"},
        {"streams", "--port"},
        {"explain", "clock", "--port", "0"},
    };
    for (const auto& words : cases) EXPECT_THROW(Run(words), UsageError) << words[0];
    EXPECT_TRUE(door.taken.empty());
}

TEST_F(Program, CarriesACommandAndSaysWhatTheDaemonDidNotLike) {
    answers["norvadctl -m 5 "] = "OK";
    answers["norvadctl -w 1 "] = "something\nelse";

    EXPECT_EQ(Run({"priority", "5"}), ExitStatus::DONE);
    EXPECT_EQ(output.str() + errors.str(), "");
    EXPECT_EQ(Run({"window", "growing"}), ExitStatus::FAILED);
    EXPECT_EQ(errors.str(), "norvadctl: the daemon answers: something?else\n");
}

TEST_F(Program, PrintsJsonThatTheSchemaDescribes) {
    const std::vector<const char*> views[] = {
        {"--json"},
        {"ports", "--json"},
        {"streams", "--json"},
        {"vlans", "--json"},
        {"domains", "--json"},
        {"clock", "--json"},
        {"streams", "--json", "--count"},
        {"explain", "clock", "--json"},
    };
    for (const auto& view : views) {
        EXPECT_EQ(Run(view), ExitStatus::DONE) << view[0];
        EXPECT_EQ(SchemaViolation(output.str()), "") << view[0] << ": " << output.str();
    }
}

TEST_F(Program, PrintsJsonAlsoOfWhatItDidNotUnderstand) {
    for (auto& [words, answer] : answers) answer += "\xff nonsense\n";

    EXPECT_EQ(Run({"--json"}), ExitStatus::FAILED);
    EXPECT_EQ(SchemaViolation(output.str()), "") << output.str();
    EXPECT_EQ(nlohmann::json::parse(output.str())["notUnderstood"]["count"], 4);

    answers["norvadctl -p "] = "";
    Run({"clock", "--json"});
    EXPECT_EQ(SchemaViolation(output.str()), "") << output.str();
    EXPECT_TRUE(nlohmann::json::parse(output.str())["clock"].is_null());
}

TEST_F(Program, PrintsAsJsonWhatHoldsAndWhatIsMissing) {
    for (const char* stream : {"02:00:00:00:00:a0:00:01", "02:00:00:00:00:a0:00:09"}) {
        EXPECT_EQ(Run({"explain", "stream", stream, "--json"}), ExitStatus::FAILED);
        EXPECT_EQ(SchemaViolation(output.str()), "") << output.str();
    }

    Run({"explain", "port", "1", "--json"});
    EXPECT_EQ(SchemaViolation(output.str()), "") << output.str();
    const auto explanation = nlohmann::json::parse(output.str())["explanation"];
    EXPECT_EQ(explanation["holds"], false);
    EXPECT_EQ(explanation["steps"][0]["step"], "link");
    EXPECT_EQ(explanation["steps"][0]["port"], 1);
    EXPECT_EQ(explanation["steps"][0]["state"], "missing");
    EXPECT_EQ(explanation["steps"][0]["from"], "-s");
}

TEST_F(Program, PrintsTheValuesUnderTheirNames) {
    Run({"streams", "--json"});
    const auto streams = nlohmann::json::parse(output.str());
    EXPECT_EQ(streams["version"], 1);
    EXPECT_EQ(streams["count"], 3);
    EXPECT_EQ(streams["streams"][0]["stream"], "02:00:00:00:00:a0:00:01");
    EXPECT_EQ(streams["streams"][0]["talkerPort"], 0);
    EXPECT_EQ(streams["streams"][0]["talkers"][0]["latencyNs"], 42);
    EXPECT_EQ(streams["streams"][0]["listeners"][1]["reserved"], "yes");
    EXPECT_EQ(streams["streams"][0]["listeners"][1]["number"], 1);
    EXPECT_TRUE(streams["streams"][1]["talkers"][0]["failure"]["code"].is_null());
    EXPECT_TRUE(streams["streams"][2]["talkerPort"].is_null());

    Run({"clock", "--json"});
    const auto clock = nlohmann::json::parse(output.str())["clock"];
    EXPECT_EQ(clock["linkDelayNs"], (std::vector<int>{-12, 512}));
    EXPECT_EQ(clock["rateRatio"][0], 1.5e-06);
    EXPECT_TRUE(clock["rateRatio"][1].is_null());
    EXPECT_TRUE(clock["cumulativeRateRatio"].is_null());
}

// The validation itself finds what the schema does not allow.
TEST(Schema, RefusesWhatItDoesNotDescribe) {
    EXPECT_EQ(SchemaViolation(R"({"version": 1, "notUnderstood": {"count": 0, "lines": []}})"), "");
    EXPECT_NE(SchemaViolation(R"({"version": 2, "notUnderstood": {"count": 0, "lines": []}})"), "");
    EXPECT_NE(SchemaViolation(R"({"version": 1, "notUnderstood": {"count": 0, "lines": []}, "more": 1})"), "");
    EXPECT_NE(SchemaViolation(R"({"version": 1, "notUnderstood": {"count": 0, "lines": []}, "ports": [{"port": 7}]})"),
              "");
}

}  // namespace
}  // namespace norvad::ctl::test
