#pragma once

#include <mqueue.h>

#include "switch/doors.h"

namespace norvad {

// The message queue "/norvad.mq", made anew: one left behind by an earlier daemon must be gone by then. Failure
// is reported on standard error and leaves the object without a queue. The name stays when the object goes;
// whoever starts next removes it.
class KernelRequestQueue final : public RequestQueue {
public:
    KernelRequestQueue();
    KernelRequestQueue(const KernelRequestQueue&) = delete;
    KernelRequestQueue& operator=(const KernelRequestQueue&) = delete;
    ~KernelRequestQueue() override;

    int Descriptor() const override { return queue; }
    ssize_t Receive(std::span<uint8_t> message) override;

private:
    mqd_t queue;
};

}  // namespace norvad
