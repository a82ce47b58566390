#pragma once

#include <chrono>
#include <cstddef>

namespace norvad::ctl {

// What strangers may take of the server.
struct Limits {
    size_t connections = 64;  // further ones are closed
    size_t eventStreams = 16;
    size_t headerBytes = 8192;
    size_t targetBytes = 1024;
    std::chrono::milliseconds requestTime{10'000};  // for a request's header, and between two requests
    std::chrono::milliseconds sendTime{30'000};     // for an answer, or the next part of an event stream
    std::chrono::milliseconds stateTime{10'000};    // for the daemon to be asked
    std::chrono::milliseconds closeTime{2'000};     // for the client to see the end of an answer
    std::chrono::milliseconds heartbeat{10'000};    // an event stream is silent no longer
};

}  // namespace norvad::ctl
