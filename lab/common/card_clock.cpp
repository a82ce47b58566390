#include "lab/common/card_clock.h"

#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/net_tstamp.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <ctime>
#include <limits>

namespace norvad::lab {

namespace {

constexpr int64_t comparisonIntervalNs = 1'000'000'000;
constexpr int readings = 5;

bool Control(unsigned long request, const std::string& interfaceName, void* argument) {
    const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq interfaceRequest{};
    interfaceName.copy(interfaceRequest.ifr_name, IFNAMSIZ - 1);
    interfaceRequest.ifr_data = static_cast<char*>(argument);
    return ioctl(socket.Get(), request, &interfaceRequest) == 0;
}

// The number of the card's clock device, -1 without one that stamps in both directions.
int ClockNumber(const std::string& interfaceName) {
    ethtool_ts_info information{};
    information.cmd = ETHTOOL_GET_TS_INFO;
    if (!Control(SIOCETHTOOL, interfaceName, &information)) return -1;
    constexpr unsigned wanted = SOF_TIMESTAMPING_TX_HARDWARE | SOF_TIMESTAMPING_RX_HARDWARE;
    return (information.so_timestamping & wanted) == wanted ? information.phc_index : -1;
}

// The kernel's way of naming a clock by the descriptor of its device.
clockid_t ClockOf(const FileDescriptor& device) {
    return static_cast<clockid_t>((~static_cast<unsigned>(device.Get()) << 3) | 3);
}

}  // namespace

std::unique_ptr<CardClock> InterfaceCardClock::Open(const std::string& interfaceName) {
    const int number = ClockNumber(interfaceName);
    if (number < 0) return nullptr;
    FileDescriptor device(open(("/dev/ptp" + std::to_string(number)).c_str(), O_RDONLY | O_CLOEXEC));
    if (!device.IsOpen()) return nullptr;

    Stamping before{};
    if (!Configure(SIOCGHWTSTAMP, interfaceName, before)) return nullptr;
    Stamping wanted{0, HWTSTAMP_TX_ON, HWTSTAMP_FILTER_PTP_V2_L2_EVENT};
    if (!Configure(SIOCSHWTSTAMP, interfaceName, wanted)) return nullptr;
    return std::unique_ptr<CardClock>(new InterfaceCardClock(interfaceName, std::move(device), before));
}

InterfaceCardClock::InterfaceCardClock(const std::string& interfaceName, FileDescriptor device, const Stamping& before)
    : interfaceName(interfaceName), device(std::move(device)), before(before) {
    Compare();
}

InterfaceCardClock::~InterfaceCardClock() {
    (void)Configure(SIOCSHWTSTAMP, interfaceName, before);
}

int64_t InterfaceCardClock::ToReference(int64_t cardNs) {
    if (ReferenceTime::NowNs() - comparedNs >= comparisonIntervalNs) Compare();
    return mapping.Map(cardNs).value_or(cardNs);
}

bool InterfaceCardClock::Configure(unsigned long request, const std::string& interfaceName, Stamping& stamping) {
    hwtstamp_config config{stamping.flags, stamping.transmit, stamping.receive};
    if (!Control(request, interfaceName, &config)) return false;
    stamping = {config.flags, config.tx_type, config.rx_filter};
    return true;
}

// Reads the card between two readings of the reference, and keeps the pair that was read fastest.
void InterfaceCardClock::Compare() {
    int64_t fastestNs = std::numeric_limits<int64_t>::max();
    int64_t cardNs = 0;
    for (int i = 0; i < readings; ++i) {
        timespec card{};
        const int64_t startNs = ReferenceTime::NowNs();
        if (clock_gettime(ClockOf(device), &card) != 0) return;
        const int64_t tookNs = ReferenceTime::NowNs() - startNs;
        if (tookNs >= fastestNs) continue;
        fastestNs = tookNs;
        cardNs = Nanoseconds(card);
        comparedNs = startNs + tookNs / 2;
    }
    mapping.Sample(cardNs, comparedNs);
}

}  // namespace norvad::lab
