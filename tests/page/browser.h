#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/http_client.h"
#include "tests/support/system/process.h"

namespace norvad::test {

// A Chromium without a screen, driven through its WebDriver. Whatever it does not do throws std::runtime_error.
class Browser {
public:
    using Json = nlohmann::json;

    Browser();
    ~Browser();

    void Open(const std::string& url);

    // What the body of a function returns in the page.
    Json Run(const std::string& body);
    std::string Text(const std::string& selector);  // as it is seen; of the first element
    size_t Count(const std::string& selector);
    void Click(const std::string& selector);
    void Type(const std::string& selector, const std::string& text);  // after what was there is gone

    void PreferDark();
    void BecomePhone();

    // What the console said since it was asked last: errors of scripts, violations of the content policy, failed loads.
    std::vector<std::string> Complaints();

private:
    Json Ask(const std::string& method, const std::string& path, const Json& content);
    std::string Element(const std::string& selector);
    void Command(const std::string& name, const Json& parameters);

    Process driver;
    std::unique_ptr<HttpClient> client;
    std::string session;
};

}  // namespace norvad::test
