#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "daemon/control/control_channel.h"
#include "fuzz/control_bridge.h"
#include "tests/support/fake_control_queues.h"

// Any bytes as a message on the request queue, of any length up to a whole one. Each queue it names exists, and what
// is sent there ends with exactly one last piece.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using norvad::ControlMessage;
    norvad::ControlBridge control;
    norvad::test::FakeControlQueues queues;

    const size_t length = std::min(size, sizeof(ControlMessage));
    const size_t nameLength = std::min(length, sizeof(ControlMessage::replyQueue));
    const std::string name(data, std::find(data, data + nameLength, uint8_t{0}));
    queues.queues[name];
    control.doors.requests.Queue({data, data + length});
    norvad::ControlChannel channel(control.bridge, queues);
    channel.serveControlRequest();

    const auto& pieces = queues.queues[name];
    const auto lastPieces = std::count_if(pieces.begin(), pieces.end(), [](const ControlMessage& m) { return m.last; });
    if (!pieces.empty() && (lastPieces != 1 || !pieces.back().last)) std::abort();
    return 0;
}
