#include "ctl/metrics.h"

#include <gtest/gtest.h>

#include <limits>

#include "ctl/exposition_text.h"
#include "tests/ctl/exposition_grammar.h"

namespace norvad::ctl::test {
namespace {

const char* const portsAnswer =
    "Port  0  status: is Up,   STP status: Up,   AVB status: Up,  \n"
    "Port  1  status: is Up,   STP status: Down, AVB status: Down,\n"
    "CPU Port status: is Down\n";

const char* const streamsAnswer =
    "Port 0\n"
    "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) "
    "Applicant VO Registrar IN\n"
    "[MSRP] Talker: 02:00:00:00:00:a0:00:04: MAC: 91:e0:f0:00:01:04: AccLatency = 0x2a (42ns) "
    "Applicant VO Registrar IN\n"
    "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant QA Registrar MT\n"
    "[MSRP] Listener:0200000000a0:0004 decl:ASKING_FAILED Applicant QA Registrar MT\n"
    "Port 1\n"
    "[MSRP] Talker: 02:00:00:00:00:a0:00:01: MAC: 91:e0:f0:00:01:00: AccLatency = 0x2a (42ns) "
    "Applicant QA Registrar MT\n"
    "[MSRP] TalkerFailed: 02:00:00:00:00:a0:00:02: MAC: 91:e0:f0:00:01:01: AccLatency = 0x2a (42ns)"
    "\tBridge ID 80:00:02:54:4e:44:00:01:\tError code:  Unknown Applicant VO Registrar IN\n"
    "[MSRP] Listener:0200000000a0:0001 decl:READY Applicant VO Registrar IN\n"
    "[MSRP] Listener:0200000000a0:0003 decl:READY_FAILED Applicant VO Registrar LV\n"
    "[MSRP] Listener:0200000000a0:0004 decl:ASKING_FAILED Applicant VO Registrar IN\n";

Snapshot Bridge() {
    return {ReadPorts(portsAnswer).ports,
            GroupByStream(ReadStreams(streamsAnswer)),
            ReadVlans("Port 0\n[MVRP] Vlan:2 Applicant QA Registrar MT\n"
                      "Port 1\n[MVRP] Vlan:2 Applicant VO Registrar IN\n[MVRP] Vlan:7 Applicant VO Registrar IN\n")
                .vlans,
            {},
            ReadClock("ST:SLAVE:MC:0x02544efffe440005:LC:0x020000fffe000100:SR:3:PD0:-12ns:PD1:512ns:AD:-7ns:"
                      "RMS:12.5:RR0:1.5e-06:RR1:nan:CRR:-inf:w:1\n")
                .clock};
}

std::string Value(const Exposition& exposition, const std::string& sample) {
    const auto found = exposition.Samples().find(sample);
    return found == exposition.Samples().end() ? "absent" : found->second;
}

TEST(Metrics, AreWhatPrometheusReads) {
    const Snapshot bridge = Bridge();
    const Counters counters;

    const Exposition all(MetricsText(&bridge, &counters));

    EXPECT_GT(all.Samples().size(), 50U);
    for (const auto& [name, type] : all.Types()) {
        EXPECT_EQ(type, name.ends_with("_total") ? "counter" : "gauge") << name;
        EXPECT_TRUE(name.starts_with("norvad3_")) << name;
    }
}

TEST(Metrics, TellOfPortsAndWhatStandsOnThem) {
    const Snapshot bridge = Bridge();
    const Exposition metrics(MetricsText(&bridge, nullptr));

    const std::pair<const char*, const char*> cases[] = {
        {"norvad3_up", "1"},
        {R"(norvad3_port_up{port="0"})", "1"},
        {R"(norvad3_port_up{port="1"})", "1"},
        {R"(norvad3_port_up{port="6"})", "0"},
        {R"(norvad3_port_stp_up{port="0"})", "1"},
        {R"(norvad3_port_stp_up{port="1"})", "0"},
        {R"(norvad3_port_as_capable{port="0"})", "1"},
        {R"(norvad3_port_as_capable{port="1"})", "0"},
        {"norvad3_streams", "4"},
        {R"(norvad3_talkers{port="0"})", "2"},
        {R"(norvad3_talkers{port="1"})", "0"},
        {R"(norvad3_failed_talkers{port="0"})", "0"},
        {R"(norvad3_failed_talkers{port="1"})", "1"},
        {R"(norvad3_listeners{port="0",declaration="ready"})", "0"},
        {R"(norvad3_listeners{port="1",declaration="ready"})", "1"},
        {R"(norvad3_listeners{port="1",declaration="ready failed"})", "1"},
        {R"(norvad3_listeners{port="1",declaration="asking failed"})", "1"},
        {R"(norvad3_reservations{port="0"})", "0"},
        {R"(norvad3_reservations{port="1"})", "1"},
        {R"(norvad3_reservations_unknown{port="1"})", "1"},
        {R"(norvad3_vlans{port="0"})", "0"},
        {R"(norvad3_vlans{port="1"})", "2"},
    };
    for (const auto& [sample, value] : cases) EXPECT_EQ(Value(metrics, sample), value) << sample;
}

TEST(Metrics, TellOfTheClockInSeconds) {
    const Snapshot bridge = Bridge();
    const Exposition metrics(MetricsText(&bridge, nullptr));

    const std::pair<const char*, const char*> cases[] = {
        {R"(norvad3_clock_state{state="SLAVE"})", "1"},
        {R"(norvad3_clock_state{state="MASTER"})", "0"},
        {R"(norvad3_clock_grandmaster_info{grandmaster="0x02544efffe440005"})", "1"},
        {"norvad3_clock_steps_removed", "3"},
        {"norvad3_clock_offset_seconds", "-7e-09"},
        {"norvad3_clock_offset_rms_seconds", "1.25e-08"},
        {R"(norvad3_link_delay_seconds{port="0"})", "-1.2e-08"},
        {R"(norvad3_link_delay_seconds{port="1"})", "5.12e-07"},
        {R"(norvad3_neighbour_rate_offset{port="0"})", "1.5e-06"},
        {R"(norvad3_neighbour_rate_offset{port="1"})", "NaN"},
        {"norvad3_grandmaster_rate_offset", "-Inf"},
    };
    for (const auto& [sample, value] : cases) EXPECT_EQ(Value(metrics, sample), value) << sample;
}

TEST(Metrics, SayOnlyThatItIsDownWhenThereIsNoDaemon) {
    EXPECT_EQ(Exposition(MetricsText(nullptr, nullptr)).Samples(),
              (std::map<std::string, std::string>{{"norvad3_up", "0"}}));
}

TEST(Metrics, LeaveTheClockOutWhenTheAnswerHadNone) {
    Snapshot bridge = Bridge();
    bridge.clock = {};

    const Exposition metrics(MetricsText(&bridge, nullptr));

    EXPECT_EQ(Value(metrics, "norvad3_clock_steps_removed"), "absent");
    EXPECT_EQ(Value(metrics, "norvad3_up"), "1");
}

TEST(Metrics, CountTheChangesOfEachKindAlsoWithoutADaemon) {
    Counters counters;
    counters.Count({{.kind = ChangeKind::LINK_UP}, {.kind = ChangeKind::LINK_UP}, {.kind = ChangeKind::DAEMON_GONE}});
    counters.Count({{.kind = ChangeKind::LINK_UP}});

    const Exposition metrics(MetricsText(nullptr, &counters));

    EXPECT_EQ(metrics.Samples().size(), 1 + changeKindNames.size());
    EXPECT_EQ(Value(metrics, R"(norvad3_changes_total{kind="link-up"})"), "3");
    EXPECT_EQ(Value(metrics, R"(norvad3_changes_total{kind="daemon-gone"})"), "1");
    EXPECT_EQ(Value(metrics, R"(norvad3_changes_total{kind="link-down"})"), "0");
}

// A thousand streams must not become a thousand series.
TEST(Metrics, GrowNotWithTheStreams) {
    Snapshot few = Bridge(), many = Bridge();
    const Stream one = many.streams.front();
    many.streams.assign(1000, one);

    EXPECT_EQ(Exposition(MetricsText(&few, nullptr)).Samples().size(),
              Exposition(MetricsText(&many, nullptr)).Samples().size());
}

TEST(ExpositionText, EscapesWhatWouldEndAValueOrALine) {
    ExpositionText text;
    text.Begin("a", ExpositionText::Type::GAUGE, "back\\slash \"quoted\"\nline");
    text.Add(1, {{"x", "back\\slash \"quoted\"\nline"}, {"y", ""}});

    EXPECT_EQ(text.Text(),
              "# HELP a back\\\\slash \"quoted\"\\nline\n"
              "# TYPE a gauge\n"
              "a{x=\"back\\\\slash \\\"quoted\\\"\\nline\",y=\"\"} 1\n");
    EXPECT_EQ(Exposition(text.Text()).Samples().size(), 1U);
}

TEST(ExpositionText, WritesNumbersThatPrometheusReads) {
    using Limits = std::numeric_limits<double>;
    ExpositionText text;
    text.Gauge("a", "", Limits::quiet_NaN());
    text.Gauge("b", "", Limits::infinity());
    text.Gauge("c", "", -Limits::infinity());
    text.Gauge("d", "", Limits::max());
    text.Gauge("e", "", -0.1);

    EXPECT_EQ(Exposition(text.Text()).Samples(),
              (std::map<std::string, std::string>{
                  {"a", "NaN"}, {"b", "+Inf"}, {"c", "-Inf"}, {"d", "1.7976931348623157e+308"}, {"e", "-0.1"}}));
}

// The grammar itself finds what is none.
TEST(Exposition, RefusesWhatIsNotInTheFormat) {
    const std::string type = "# TYPE a gauge\n";
    const std::string cases[] = {
        type + "a 1",
        type + "a{x=\"1\" 1\n",
        type + "a{x=1} 1\n",
        type + "a{x=\"\\t\"} 1\n",
        type + "a{x=\"1\",x=\"2\"} 1\n",
        type + "a nan\n",
        type + "a 1\na 1\n",
        type + "b 1\n",
        type + type,
        "a 1\n",
        "# TYPE a number\na 1\n",
        type + "# HELP b other\na 1\n",
        "# HELP a x\n# HELP a x\n",
    };
    for (const std::string& text : cases) EXPECT_ANY_THROW(Exposition{text}) << text;
    EXPECT_EQ(Exposition(type + "a{x=\"\\\"}\",y=\"\"} -1e-09\n").Samples().size(), 1U);
}

}  // namespace
}  // namespace norvad::ctl::test
