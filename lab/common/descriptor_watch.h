#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <memory>

namespace norvad::lab {

// Has a descriptor, which somebody else owns and which outlives this, served whenever it is readable or in error.
class DescriptorWatch {
public:
    // False when the descriptor is not to be served any more.
    using Serve = std::function<bool()>;

    DescriptorWatch(boost::asio::io_context& context, int descriptor, Serve serve);
    DescriptorWatch(const DescriptorWatch&) = delete;
    DescriptorWatch& operator=(const DescriptorWatch&) = delete;
    ~DescriptorWatch();

private:
    void Await();

    boost::asio::posix::stream_descriptor descriptor;
    std::shared_ptr<Serve> serve;  // a completion that is on its way when this ends does not find it
};

}  // namespace norvad::lab
