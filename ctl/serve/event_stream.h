#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>
#include <string>
#include <string_view>

#include "ctl/serve/hub.h"

namespace norvad::ctl {

inline constexpr std::string_view eventStreamType = "text/event-stream";

// A connection that follows the events until one of the two sides ends it. A client that does not read is cut off;
// one that reads slowly is sent the newest state only.
class EventStream final : public StateWaiter, public std::enable_shared_from_this<EventStream> {
public:
    EventStream(boost::asio::ip::tcp::socket socket, std::shared_ptr<Hub> hub, Places::Place connection,
                Places::Place place, EventFeed::Position position);

    void Start();
    void OnState(const BridgeState& state) override;

private:
    void Send(std::string text);
    void SendWhatIsNew();
    void SetTimer(std::chrono::milliseconds time);
    void OnTimer();
    void AwaitEnd();
    void End();

    const std::shared_ptr<Hub> hub;
    const Places::Place connection, place;
    boost::asio::ip::tcp::socket socket;
    boost::asio::steady_timer timer;  // while sending: when that takes too long; else the heartbeat
    EventFeed::Position position;
    std::string sending;
    std::array<char, 64> received{};
};

}  // namespace norvad::ctl
