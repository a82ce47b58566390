#include "tests/support/system/gptp_peer.h"

namespace norvad::test {

GptpPeer::GptpPeer(const std::string& interface, Bytes address) : wire(interface), address(std::move(address)) {
    answerer = std::thread([this] { Answer(); });
}

GptpPeer::~GptpPeer() {
    stop = true;
    answerer.join();
}

void GptpPeer::Answer() {
    size_t seen = 0;
    while (!stop) {
        for (; seen < wire.Received().size(); ++seen) {
            const Bytes request = wire.Received()[seen];
            if (!IsGptp(request, pdelayReq)) continue;
            (void)wire.TrySend(PdelayResponse(address, request));
            (void)wire.TrySend(PdelayResponseFollowUp(address, request));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

}  // namespace norvad::test
