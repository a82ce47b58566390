#include "tests/page/browser.h"

#include <stdexcept>

#include "tests/support/system/wait_for.h"

namespace norvad::test {

namespace {

constexpr uint16_t driverPort = 9515;
constexpr const char* elementKey = "element-6066-11e4-a52e-4f735466cecf";  // the standard's name for a reference

const nlohmann::json wanted = {
    {"browserName", "chrome"},
    {"goog:loggingPrefs", {{"browser", "ALL"}}},
    {"goog:chromeOptions",
     {{"binary", "/usr/bin/chromium"},
      {"args",
       {"--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--disable-background-networking",
        "--no-first-run", "--window-size=1280,900", "--user-data-dir=/tmp/browser"}}}},
};

std::unique_ptr<HttpClient> Connect() {
    std::unique_ptr<HttpClient> client;
    WaitFor([&] {
        try {
            client = std::make_unique<HttpClient>(
                boost::asio::ip::tcp::endpoint(boost::asio::ip::address_v4::loopback(), driverPort));
        } catch (const boost::system::system_error&) {
        }
        return client != nullptr;
    });
    if (!client) throw std::runtime_error("no chromedriver");
    return client;
}

}  // namespace

Browser::Browser()
    : driver({"/usr/bin/env", "HOME=/tmp", "chromedriver", "--port=" + std::to_string(driverPort)}), client(Connect()) {
    const Json made = Ask("POST", "/session", {{"capabilities", {{"alwaysMatch", wanted}}}});
    session = "/session/" + made.at("sessionId").get<std::string>();
}

Browser::~Browser() {
    Ask("DELETE", session, nullptr);
}

void Browser::Open(const std::string& url) {
    Ask("POST", session + "/url", {{"url", url}});
}

Browser::Json Browser::Run(const std::string& body) {
    return Ask("POST", session + "/execute/sync", {{"script", body}, {"args", Json::array()}});
}

std::string Browser::Text(const std::string& selector) {
    return Run("return document.querySelector(" + Json(selector).dump() + ")?.innerText ?? ''");
}

size_t Browser::Count(const std::string& selector) {
    return Run("return document.querySelectorAll(" + Json(selector).dump() + ").length");
}

void Browser::Click(const std::string& selector) {
    Ask("POST", session + "/element/" + Element(selector) + "/click", Json::object());
}

void Browser::Type(const std::string& selector, const std::string& text) {
    const std::string element = session + "/element/" + Element(selector);
    Ask("POST", element + "/clear", Json::object());
    Ask("POST", element + "/value", {{"text", text}});
}

void Browser::PreferDark() {
    Command("Emulation.setEmulatedMedia",
            {{"features", Json::array({{{"name", "prefers-color-scheme"}, {"value", "dark"}}})}});
}

void Browser::BecomePhone() {
    Command("Emulation.setDeviceMetricsOverride",
            {{"width", 360}, {"height", 780}, {"deviceScaleFactor", 2}, {"mobile", true}});
}

std::vector<std::string> Browser::Complaints() {
    std::vector<std::string> complaints;
    for (const Json& entry : Ask("POST", session + "/se/log", {{"type", "browser"}})) {
        const std::string message = entry.at("message");
        if (!message.starts_with("chrome://")) complaints.push_back(message);  // the browser's own first page
    }
    return complaints;
}

Browser::Json Browser::Ask(const std::string& method, const std::string& path, const Json& content) {
    const std::string body = content.is_null() ? "" : content.dump();
    std::string request = method + " " + path + " HTTP/1.1\r\nHost: localhost\r\n";
    request += "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    const std::string answer = client->Exchange(request);
    const Json document = Json::parse(ContentOf(answer), nullptr, false);
    if (document.is_discarded()) throw std::runtime_error("the driver answers: " + answer);
    const Json& value = document.at("value");
    if (value.is_object() && value.contains("error")) throw std::runtime_error(value.dump());
    return value;
}

std::string Browser::Element(const std::string& selector) {
    const Json found = Ask("POST", session + "/element", {{"using", "css selector"}, {"value", selector}});
    return found.at(elementKey);
}

void Browser::Command(const std::string& name, const Json& parameters) {
    Ask("POST", session + "/goog/cdp/execute", {{"cmd", name}, {"params", parameters}});
}

}  // namespace norvad::test
