#pragma once

#include "base/message_queue.h"
#include "switch/doors.h"

namespace norvad {

// The message queue "/norvad.mq", made anew: one left behind by an earlier daemon must be gone by then. Failure
// is reported on standard error and leaves the object without a queue. The name stays when the object goes;
// whoever starts next removes it.
class KernelRequestQueue final : public RequestQueue {
public:
    KernelRequestQueue();

    int Descriptor() const override { return queue.Descriptor(); }
    ssize_t Receive(std::span<uint8_t> message) override;

private:
    MessageQueue queue;
};

}  // namespace norvad
