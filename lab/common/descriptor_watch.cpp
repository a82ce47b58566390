#include "lab/common/descriptor_watch.h"

#include <memory>
#include <utility>

namespace norvad::lab {

DescriptorWatch::DescriptorWatch(boost::asio::io_context& context, int descriptor, Serve serve)
    : descriptor(context, descriptor), serve(std::make_shared<Serve>(std::move(serve))) {
    Await();
}

DescriptorWatch::~DescriptorWatch() {
    (void)descriptor.release();
}

void DescriptorWatch::Await() {
    const std::weak_ptr<Serve> whileThisLives = serve;
    descriptor.async_wait(descriptor.wait_read, [this, whileThisLives](const boost::system::error_code& isCancelled) {
        const auto serving = whileThisLives.lock();
        if (serving && !isCancelled && (*serving)()) Await();
    });
}

}  // namespace norvad::lab
