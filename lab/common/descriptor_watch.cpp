#include "lab/common/descriptor_watch.h"

#include <utility>

namespace norvad::lab {

DescriptorWatch::DescriptorWatch(boost::asio::io_context& context, int descriptor, Serve serve)
    : descriptor(context, descriptor), serve(std::move(serve)) {
    Await();
}

DescriptorWatch::~DescriptorWatch() {
    (void)descriptor.release();
}

void DescriptorWatch::Await() {
    descriptor.async_wait(descriptor.wait_read, [this](const boost::system::error_code& isCancelled) {
        if (!isCancelled && serve()) Await();
    });
}

}  // namespace norvad::lab
