#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ctl/serve/bridge_poller.h"
#include "ctl/serve/http_server.h"
#include "ctl/serve/listen_address.h"
#include "tests/ctl/serve/small_bridge.h"
#include "tests/page/browser.h"
#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/wait_for.h"

namespace norvad::ctl::test {
namespace {

using norvad::test::Browser;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Streams of one talker on port 0, each with another latency; every tenth has failed.
std::string Streams(unsigned count) {
    std::string answer = "Port 0\n";
    for (unsigned i = 0; i < count; ++i) {
        const unsigned latencyNs = (i * 7919) % 100'000;
        answer += fmt::format(
            "[MSRP] {}: 02:00:00:00:00:a0:{:02x}:{:02x}: MAC: 91:e0:f0:00:{:02x}:{:02x}: AccLatency = 0x{:x} ({}ns){} "
            "Applicant VO Registrar IN\n",
            i % 10 == 9 ? "TalkerFailed" : "Talker", i >> 8, i & 0xFF, i >> 8, i & 0xFF, latencyNs, latencyNs,
            i % 10 == 9 ? "\tBridge ID 80:00:02:54:4e:44:00:01:\tError code: Egress port is not AVB capable" : "");
    }
    return answer;
}

// The page, in a browser that has no network but this machine, of a daemon that answers what the test says.
class Page : public testing::Test {
protected:
    Page() {
        norvad::test::StartFreshNetwork();
        norvad::test::SetInterfaceUp("lo", true);
        norvad::test::EmptyTemporaryDirectory();
        server = std::make_unique<HttpServer>(
            boost::asio::ip::tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0), Limits{}, clock, [] {});
        browser = std::make_unique<Browser>();
    }

    // Asks the daemon, for all that follow, until it holds.
    template <typename Condition>
    bool Shows(Condition condition) {
        return norvad::test::WaitFor([&] {
            if (server) server->Publish(poller.Poll());
            return condition();
        });
    }
    bool ShowsText(const std::string& selector, const std::string& text) {
        return Shows([&] { return browser->Text(selector).find(text) != std::string::npos; });
    }
    void Open() {
        browser->Open("http://" + ListenAddressText(server->Endpoint()) + "/");
        ASSERT_TRUE(ShowsText("#status", "the daemon answers")) << browser->Text("body");
        ASSERT_TRUE(Shows([&] { return browser->Count("#domains tbody tr") > 0; }));
    }
    std::vector<std::string> Column(const std::string& section, unsigned column) {
        return browser->Run(
            fmt::format("return [...document.querySelectorAll('#{} tbody tr')]"
                        ".map((row) => row.children[{}].innerText)",
                        section, column));
    }

    const SystemClock clock;
    SmallBridge bridge;
    BridgePoller poller{bridge.client, clock};
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<Browser> browser;
};

TEST_F(Page, LoadsWithoutComplaint) {
    Open();

    EXPECT_THAT(browser->Complaints(), IsEmpty());
    EXPECT_EQ(browser->Run("return document.title"), "norvad3");
    EXPECT_EQ(browser->Run("return performance.getEntriesByType('resource').filter((entry) => "
                           "!entry.name.startsWith(location.origin)).length"),
              0);
}

TEST_F(Page, ShowsWhatTheDaemonSays) {
    Open();

    EXPECT_THAT(Column("ports", 0), ElementsAre("0", "1", "CPU"));
    EXPECT_THAT(Column("ports", 3), ElementsAre("yes", "–", "–"));
    EXPECT_THAT(Column("streams", 0), ElementsAre("02:00:00:00:00:a0:00:01", "02:00:00:00:00:a0:00:02"));
    EXPECT_THAT(Column("streams", 2), ElementsAre("42 ns", "42 ns"));
    EXPECT_THAT(Column("streams", 3), ElementsAre("port 0", "port 1 failed"));
    EXPECT_THAT(Column("streams", 4), ElementsAre("port 1 ready", "–"));
    EXPECT_THAT(Column("streams", 5), ElementsAre("port 1", "–"));
    EXPECT_THAT(Column("streams", 6), ElementsAre("–", "port 1: unknown code, bridge 80:00:02:54:4e:44:00:01"));
    EXPECT_THAT(Column("vlans", 1), ElementsAre("port 1"));
    EXPECT_THAT(Column("domains", 0), ElementsAre("A"));
    EXPECT_THAT(browser->Text("#clock-values"), HasSubstr("0x02544efffe440005"));
}

TEST_F(Page, SortsByTheHeadingThatIsClicked) {
    bridge.streams = Streams(4);  // 0, 7919, 15838 and 23757 ns
    Open();
    const std::string heading = "#streams thead th:nth-child(3)";

    browser->Click(heading + " button");
    EXPECT_THAT(Column("streams", 2), ElementsAre("0 ns", "7,919 ns", "15,838 ns", "23,757 ns"));
    EXPECT_EQ(browser->Count(heading + "[aria-sort=ascending]"), 1U);
    browser->Click(heading + " button");
    EXPECT_THAT(Column("streams", 2), ElementsAre("23,757 ns", "15,838 ns", "7,919 ns", "0 ns"));
    EXPECT_EQ(browser->Count(heading + "[aria-sort=descending]"), 1U);
    EXPECT_EQ(browser->Count("#streams [aria-sort]"), 1U);
}

TEST_F(Page, FindsAStreamAmongAThousand) {
    bridge.streams = Streams(1000);
    Open();
    EXPECT_TRUE(ShowsText("#streams .count", "1 to 50 of 1000 streams"));
    EXPECT_EQ(browser->Count("#streams tbody tr"), 50U);

    browser->Click("#streams .tools button:last-child");
    EXPECT_THAT(browser->Text("#streams .count"), HasSubstr("51 to 100 of 1000"));
    EXPECT_EQ(Column("streams", 0).front(), "02:00:00:00:00:a0:00:32");

    browser->Type("#streams-filter", "00:A0:03:e7 failed");
    EXPECT_EQ(browser->Text("#streams .count"), "1 found among 1000 streams");
    EXPECT_THAT(Column("streams", 0), ElementsAre("02:00:00:00:00:a0:03:e7"));
    browser->Type("#streams-filter", "nowhere");
    EXPECT_EQ(browser->Text("#streams tbody"), "none");
}

TEST_F(Page, ShowsAChangeAsItComes) {
    Open();
    EXPECT_EQ(browser->Text("#event-list"), "");

    bridge.ports = std::string(FakeBridge::portDown);
    bridge.vlans += "[MVRP] Vlan:3 Applicant VO Registrar IN\n";

    EXPECT_TRUE(ShowsText("#event-list", "port 0: link down"));
    EXPECT_TRUE(ShowsText("#event-list", "VLAN 3: registered at port 1"));
    EXPECT_TRUE(Shows([&] { return Column("ports", 1) == std::vector<std::string>{"down"}; }));
    EXPECT_TRUE(Shows([&] { return Column("vlans", 0) == std::vector<std::string>{"2", "3"}; }));
    EXPECT_THAT(browser->Complaints(), IsEmpty());
}

TEST_F(Page, SaysThatTheDaemonIsGoneAndKeepsWhatItSaid) {
    Open();
    bridge.Vanish();
    EXPECT_TRUE(
        ShowsText("#status", "no daemon runs: there is no request queue /norvad.mq; shown is what it said at "));
    EXPECT_TRUE(ShowsText("#event-list", "the daemon is gone"));
    EXPECT_THAT(Column("ports", 0), ElementsAre("0", "1", "CPU"));
    EXPECT_EQ(browser->Count("main.stale"), 1U);

    bridge.Appear();
    EXPECT_TRUE(ShowsText("#status", "the daemon answers"));
    EXPECT_EQ(browser->Count("main.stale"), 0U);
    EXPECT_THAT(browser->Complaints(), IsEmpty());
}

TEST_F(Page, OpensAlsoWithoutADaemon) {
    bridge.Vanish();
    browser->Open("http://" + ListenAddressText(server->Endpoint()) + "/");

    EXPECT_TRUE(ShowsText("#status", "no daemon runs: there is no request queue /norvad.mq"));
    EXPECT_THAT(browser->Complaints(), IsEmpty());
}

TEST_F(Page, SaysThatItIsCutOff) {
    Open();
    server.reset();

    EXPECT_TRUE(ShowsText("#status", "no connection to norvadctl; trying again"));
}

TEST_F(Page, DrawsTheClockAndKeepsItOverAReload) {
    Open();
    for (const auto& [offset, text] : {std::pair(-100, "−100 ns"), std::pair(100, "100 ns")}) {
        bridge.clock = fmt::format(
            "ST:SLAVE:MC:0x02544efffe440005:LC:0x020000fffe000100:SR:3:PD0:400ns:PD1:512ns:AD:{}ns:RMS:12.5:"
            "RR0:1.5e-06:RR1:nan:CRR:2.5e-06:w:1\n",
            offset);
        ASSERT_TRUE(ShowsText("#clock-values", text));
    }
    EXPECT_THAT(browser->Text("#plot-offset .hint"), HasSubstr("offset −100 to 100 ns"));

    browser->Run("location.reload()");
    EXPECT_TRUE(ShowsText("#plot-offset .hint", "Last minute: offset −100 to 100 ns"));
    EXPECT_THAT(browser->Text("#plot-delay .legend"), HasSubstr("port 1 512"));
    EXPECT_THAT(browser->Text("#plot-rate .legend"), HasSubstr("port 0 1.500"));
    EXPECT_THAT(browser->Text("#plot-rate .legend"), HasSubstr("port 1 unknown"));
    const std::string path = browser->Run("return document.querySelector('#plot-offset path').getAttribute('d')");
    EXPECT_GT(std::count(path.begin(), path.end(), 'L'), 0) << path;
}

TEST_F(Page, FitsAPhone) {
    bridge.streams = Streams(1000);
    browser->BecomePhone();
    Open();
    ASSERT_TRUE(ShowsText("#streams .count", "of 1000"));

    EXPECT_EQ(browser->Run("return innerWidth"), 360);
    EXPECT_EQ(browser->Run("return [...document.querySelectorAll('body *')].filter((element) => "
                           "element.getBoundingClientRect().right > 360.5 && !element.closest('caption, .skip'))"
                           ".map((element) => element.outerHTML.slice(0, 80))"),
              nlohmann::json::array());
    EXPECT_LE(browser->Run("return document.scrollingElement.scrollWidth"), 360);
}

// By the contrast of each of the texts with what lies behind it, WCAG 2.1, 1.4.3.
constexpr const char* faintTexts = R"(
    const channels = (colour) => colour.match(/[\d.]+/g).map(Number);
    const luminance = (colour) => channels(colour).slice(0, 3).map((value) => value / 255)
        .map((value) => value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4)
        .reduce((sum, value, index) => sum + value * [0.2126, 0.7152, 0.0722][index], 0);
    const behind = (element) => {
        for (; element; element = element.parentElement) {
            const colour = getComputedStyle(element).backgroundColor;
            if (channels(colour)[3] !== 0) return colour;
        }
    };
    const faint = new Set();
    for (const element of document.querySelectorAll('body *')) {
        if (![...element.childNodes].some((node) => node.nodeType === 3 && node.data.trim())) continue;
        if (element.closest('noscript, svg, [disabled]')) continue;
        const [a, b] = [luminance(getComputedStyle(element).color), luminance(behind(element))];
        const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
        if (contrast < 4.5) faint.add(`${element.outerHTML.slice(0, 60)}: ${contrast.toFixed(2)}`);
    }
    return [...faint];
)";

TEST_F(Page, CanBeReadInTheLightAndInTheDark) {
    Open();
    EXPECT_EQ(browser->Run(faintTexts), nlohmann::json::array());
    const auto ground = "return getComputedStyle(document.body).backgroundColor";
    const auto light = browser->Run(ground);

    browser->PreferDark();

    EXPECT_NE(browser->Run(ground), light);
    EXPECT_EQ(browser->Run(faintTexts), nlohmann::json::array());
}

TEST_F(Page, CanBeReadAloud) {
    Open();
    const auto none = nlohmann::json::array();
    const auto without = [this](const std::string& selector, const std::string& holds) {
        return browser->Run(
            fmt::format("return [...document.querySelectorAll('{}')].filter((element) => !({}))"
                        ".map((element) => element.outerHTML.slice(0, 80))",
                        selector, holds));
    };
    for (const char* landmark : {"header", "nav[aria-label]", "main", "html[lang]", "#status[role=status]",
                                 "#event-list[role=log][aria-live=polite]", ".skip[href=\"#main\"]"}) {
        EXPECT_EQ(browser->Count(landmark), 1U) << landmark;
    }
    EXPECT_EQ(without("section", "document.getElementById(element.getAttribute(\"aria-labelledby\")).textContent"),
              none);
    EXPECT_EQ(without("table", "element.caption.textContent"), none);
    EXPECT_EQ(without("th", "element.scope"), none);
    EXPECT_EQ(without("input", "element.labels.length === 1"), none);
    EXPECT_EQ(without("button", "element.textContent.trim()"), none);
    EXPECT_EQ(without("svg", "element.getAttribute(\"aria-labelledby\") || element.ariaHidden === \"true\""), none);
    // A state is told by its word, and never by colour alone.
    EXPECT_EQ(without(".mark", "element.textContent.trim()"), none);
}

TEST_F(Page, RunsNoScriptButItsOwn) {
    Open();
    browser->Run(
        "const script = document.createElement('script');"
        "try { script.text = 'window.intruder = true'; document.head.append(script); } catch {}");

    EXPECT_EQ(browser->Run("return window.intruder ?? 'none'"), "none");
    EXPECT_THAT(browser->Complaints(), testing::Not(IsEmpty()));
}

}  // namespace
}  // namespace norvad::ctl::test
