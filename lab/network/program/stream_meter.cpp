#include "lab/network/program/stream_meter.h"

#include <algorithm>
#include <utility>

namespace norvad::network {

void StreamMeter::Sent(uint32_t counter, uint64_t ns) {
    sent = uint64_t{counter} + 1;
    sentNs[counter % sentNs.size()] = ns;
}

void StreamMeter::Received(size_t index, uint32_t counter, uint64_t ns) {
    Listener& listener = arrivals[index];
    const uint64_t latencyNs = ns - sentNs[counter % sentNs.size()];
    ++listener.told.received;
    listener.told.latencySumNs += latencyNs;
    listener.told.leastLatencyNs = std::min(listener.told.leastLatencyNs, latencyNs);
    listener.told.mostLatencyNs = std::max(listener.told.mostLatencyNs, latencyNs);
    listener.mostLatelyNs = std::max(listener.mostLatelyNs, latencyNs);
    if (listener.isAway || (listener.next && counter < *listener.next)) return;  // a late one was lost before
    if (listener.next) listener.lost += counter - *listener.next;
    listener.next = uint64_t{counter} + 1;
}

void StreamMeter::Leave(size_t listener) {
    arrivals[listener].isAway = true;
    arrivals[listener].next.reset();
}

void StreamMeter::Come(size_t listener) {
    arrivals[listener].isAway = false;
}

uint64_t StreamMeter::TakeMostLatencyNs(size_t listener) {
    return std::exchange(arrivals[listener].mostLatelyNs, 0);
}

uint64_t StreamMeter::Lost() {
    uint64_t lost = 0;
    for (Listener& listener : arrivals) {
        if (listener.next && sentBefore > *listener.next) {
            listener.lost += sentBefore - *listener.next;
            listener.next = sentBefore;
        }
        lost += listener.lost;
    }
    sentBefore = sent;
    return lost;
}

}  // namespace norvad::network
