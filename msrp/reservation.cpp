#include "msrp/reservation.h"

#include "base/memory.h"
#include "switch/i4_switch.h"

namespace norvad {
namespace {

uint32_t TotalKey(const Listener& listener) {
    return uint32_t{listener.port} << 16 | listener.reservation.vid;
}

}  // namespace

uint32_t StreamBandwidth(const TalkerFirstValue& talker) {
    constexpr uint32_t intervalsPerSecond = 8000;
    constexpr uint32_t frameOverhead = 50 * intervalsPerSecond;
    const uint32_t frameBytes = talker.maxFrameSize;
    const uint32_t frames = talker.maxIntervalFrames;
    return frames * (intervalsPerSecond * frameBytes + frameOverhead);
}

void Reservations::Reserve(Listener& listener, const TalkerFirstValue& talker) {
    if (listener.reservation.active) return;
    listener.reservation = {true, talker.vid, StreamBandwidth(talker), talker.destination};
    const Reservation& reserved = listener.reservation;

    Total& total = totals[TotalKey(listener)];
    total.bandwidth += reserved.bandwidth;
    ++total.reservations;
    bridge.SetBandwidth(listener.port, reserved.vid, total.bandwidth);
    bridge.EnableMulticast(listener.port, reserved.vid, reserved.destination);
}

void Reservations::Release(Listener& listener) {
    Reservation& reserved = listener.reservation;
    if (!reserved.active) return;
    const auto found = totals.find(TotalKey(listener));
    Total& total = found->second;
    total.bandwidth -= reserved.bandwidth;
    --total.reservations;
    reserved.active = false;
    reserved.bandwidth = 0;

    bridge.DisableMulticast(listener.port, reserved.vid, reserved.destination);
    bridge.SetBandwidth(listener.port, reserved.vid, total.bandwidth);
    if (total.reservations > 0) return;
    totals.erase(found);
    GiveRoomBack(totals);
}

}  // namespace norvad
