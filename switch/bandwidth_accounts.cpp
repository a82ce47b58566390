#include "switch/bandwidth_accounts.h"

#include "base/log.h"
#include "switch/switch_ioctl.h"

namespace norvad {

namespace {

// The sum is formed in 64 bits: an absurd amount must not wrap round to one that fits.
bool Fits(const PortRecord& port, uint32_t bytesPerSecond) {
    const uint32_t limit = port.IsGigabit() ? gigabitBandwidthLimit : fastBandwidthLimit;
    return uint64_t{port.reservedBandwidth} + bytesPerSecond <= limit;
}

}  // namespace

void BandwidthAccounts::Add(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) {
    if (port >= ports.size()) return;
    if (!Fits(ports[port], bytesPerSecond)) {
        log(LogCategory::IOCTL, 0, "ERROR: trying to add more bandwidth than available\n");
        return;
    }
    const uint32_t total = ports[port].reservedBandwidth + bytesPerSecond;
    log(LogCategory::IOCTL, 1, "AddBandwidth %u , new bw %u \n", bytesPerSecond, total);
    Store(port, trafficClass, total);
}

// Giving back more than was taken wraps round. The callers balance their books, and an account that was forced
// to zero instead would hide that they do not.
void BandwidthAccounts::Substract(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) {
    if (port >= ports.size()) return;
    const uint32_t total = ports[port].reservedBandwidth - bytesPerSecond;
    log(LogCategory::IOCTL, 1, "SubstractBandwidth %u , new bw %u \n", bytesPerSecond, total);
    Store(port, trafficClass, total);
}

void BandwidthAccounts::Set(uint8_t port, uint32_t trafficClass, uint32_t bytesPerSecond) {
    if (port >= ports.size() || ports[port].reservedBandwidth == bytesPerSecond) return;
    Store(port, trafficClass, bytesPerSecond);
}

bool BandwidthAccounts::Has(uint8_t port, uint32_t bytesPerSecond) const {
    return port < ports.size() && Fits(ports[port], bytesPerSecond);
}

void BandwidthAccounts::Store(uint8_t port, uint32_t trafficClass, uint32_t total) {
    ports[port].reservedBandwidth = total;
    driver.SetEgressLimit(port, trafficClass, static_cast<int32_t>(total));
}

}  // namespace norvad
