#include "lab/virtual_switch/network_namespace.h"

#include <fcntl.h>
#include <sched.h>

#include "lab/common/errors.h"

namespace norvad::board {

using namespace lab;

namespace {

FileDescriptor OwnNetwork() {
    FileDescriptor own(::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC));
    if (!own.IsOpen()) ThrowErrno("cannot open the network namespace");
    return own;
}

void Enter(int network) {
    if (setns(network, CLONE_NEWNET) != 0) ThrowErrno("cannot enter a network namespace");
}

}  // namespace

NetworkNamespace::NetworkNamespace() {
    const FileDescriptor original = OwnNetwork();
    if (unshare(CLONE_NEWNET) != 0) ThrowErrno("cannot make a network namespace");
    descriptor = OwnNetwork();
    Enter(original.Get());
}

WithinNetwork::WithinNetwork(const NetworkNamespace& network) : original(OwnNetwork()) {
    Enter(network.Descriptor());
}

WithinNetwork::~WithinNetwork() {
    (void)setns(original.Get(), CLONE_NEWNET);  // where this thread came from
}

}  // namespace norvad::board
