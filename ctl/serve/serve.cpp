#include "ctl/serve/serve.h"

#include <ostream>

#include "ctl/serve/attention.h"
#include "ctl/serve/bridge_poller.h"
#include "ctl/serve/http_server.h"
#include "ctl/serve/listen_address.h"
#include "ctl/text.h"

namespace norvad::ctl {

namespace {

using Endpoint = boost::asio::ip::tcp::endpoint;

Endpoint EndpointOf(const Options& options) {
    const auto endpoint = ReadListenAddress(options.listen);
    if (endpoint) return *endpoint;
    throw UsageError("--listen wants an address and a port, as 127.0.0.1:8021 or [::1]:8021, not '" +
                     Printable(options.listen) + "'");
}

[[noreturn]] void ServeAt(const Endpoint& endpoint, ControlClient& client, const Terminal& terminal) {
    const SystemClock clock;
    Attention attention;
    HttpServer server(endpoint, Limits{}, clock, [&attention] { attention.Draw(); });
    terminal.output << "http://" << ListenAddressText(server.Endpoint()) << "/" << std::endl;

    BridgePoller poller(client, clock);
    for (;;) {
        attention.WaitUntilDrawn();
        server.Publish(poller.Poll());
        attention.Pause(BridgePoller::periodMs);
    }
}

}  // namespace

bool WantsToServe(const Options& options) {
    if (options.words.empty() || options.words[0] != "serve") return false;
    if (options.words.size() > 1) throw UsageError("serve takes no further words");
    return true;
}

ExitStatus Serve(const Options& options, ControlClient& client, const Terminal& terminal) {
    const Endpoint endpoint = EndpointOf(options);
    try {
        ServeAt(endpoint, client, terminal);
    } catch (const boost::system::system_error& error) {
        terminal.errors << "norvadctl: nothing can be served at " << ListenAddressText(endpoint) << ": "
                        << error.code().message() << "\n";
        return ExitStatus::FAILED;
    }
}

}  // namespace norvad::ctl
