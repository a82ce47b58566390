#include "lab/virtual_switch/driver_gate.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>

#include "base/wire.h"
#include "lab/board/driver.h"
#include "switch/driver_records.h"

namespace norvad::board {

namespace {

#if defined(__x86_64__)
constexpr uint32_t architecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr uint32_t architecture = AUDIT_ARCH_AARCH64;
#elif defined(__arm__)
constexpr uint32_t architecture = AUDIT_ARCH_ARM;
#elif defined(__riscv)
constexpr uint32_t architecture = AUDIT_ARCH_RISCV64;
#else
#error "the system call filter does not know this architecture"
#endif

constexpr size_t largestRecord = 64;

// The lower 32 bits of a system call's argument; a request code has no more.
constexpr uint32_t LowWord(size_t argument) {
    const size_t word = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? 0 : 4;
    return static_cast<uint32_t>(offsetof(seccomp_data, args) + argument * sizeof(uint64_t) + word);
}

constexpr sock_filter Load(uint32_t offset) {
    return {BPF_LD | BPF_W | BPF_ABS, 0, 0, offset};
}
constexpr sock_filter SkipUnless(uint32_t value, uint8_t instructions) {
    return {BPF_JMP | BPF_JEQ | BPF_K, 0, instructions, value};
}
constexpr sock_filter Return(uint32_t action) {
    return {BPF_RET | BPF_K, 0, 0, action};
}

int Seccomp(unsigned operation, unsigned flags, void* argument) {
    return static_cast<int>(syscall(SYS_seccomp, operation, flags, argument));
}

bool ReadMemory(int process, uint64_t address, void* to, size_t length) {
    const iovec local{to, length};
    const iovec remote{reinterpret_cast<void*>(address), length};  // an address of the other process
    return process_vm_readv(process, &local, 1, &remote, 1, 0) == static_cast<ssize_t>(length);
}

bool WriteMemory(int process, uint64_t address, const void* from, size_t length) {
    const iovec local{const_cast<void*>(from), length};
    const iovec remote{reinterpret_cast<void*>(address), length};
    return process_vm_writev(process, &local, 1, &remote, 1, 0) == static_cast<ssize_t>(length);
}

}  // namespace

int DriverGate::Install() {
    // clang-format off
    std::array<sock_filter, 8> program{
        Load(offsetof(seccomp_data, arch)), SkipUnless(architecture, 5),
        Load(offsetof(seccomp_data, nr)),   SkipUnless(SYS_ioctl, 3),
        Load(LowWord(1)),                   SkipUnless(SIOCDEVPRIVATE, 1),
        Return(SECCOMP_RET_USER_NOTIF),
        Return(SECCOMP_RET_ALLOW),
    };
    // clang-format on
    sock_fprog filter{program.size(), program.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return -1;
    return Seccomp(SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter);
}

DriverGate::DriverGate(FileDescriptor listener, const std::string& interfaceName)
    : listener(std::move(listener)), interfaceName(interfaceName) {
    seccomp_notif_sizes sizes{};
    (void)Seccomp(SECCOMP_GET_NOTIF_SIZES, 0, &sizes);
    notification.resize(std::max<size_t>(sizes.seccomp_notif, sizeof(seccomp_notif)));
    response.resize(std::max<size_t>(sizes.seccomp_notif_resp, sizeof(seccomp_notif_resp)));
}

void DriverGate::Serve(const Handler& handler) {
    Request request;
    if (!ReceiveRequest(request)) return;
    bool isForeign = false;
    const int error = Carry(request, handler, isForeign);
    Answer(request, error, isForeign);
}

bool DriverGate::ReceiveRequest(Request& request) {
    std::fill(notification.begin(), notification.end(), 0);  // the kernel insists
    if (ioctl(listener.Get(), SECCOMP_IOCTL_NOTIF_RECV, notification.data()) != 0) return false;
    seccomp_notif received;
    std::memcpy(&received, notification.data(), sizeof(received));
    request = {received.id, static_cast<int>(received.pid), received.data.args[2]};
    return true;
}

int DriverGate::Carry(const Request& request, const Handler& handler, bool& isForeign) {
    ifreq interfaceRequest;
    if (!ReadMemory(request.process, request.argument, &interfaceRequest, sizeof(interfaceRequest))) return EFAULT;
    isForeign = std::strncmp(interfaceRequest.ifr_name, interfaceName.c_str(), IFNAMSIZ) != 0;
    if (isForeign) return 0;

    std::array<uint8_t, largestRecord> record;
    const auto address = reinterpret_cast<uint64_t>(interfaceRequest.ifr_data);
    if (!ReadMemory(request.process, address, record.data(), sizeof(CommandHeader))) return EFAULT;
    const auto header = *Peek<CommandHeader>(record);
    const size_t size = RecordSize(header.command).value_or(sizeof(CommandHeader));
    if (!ReadMemory(request.process, address, record.data(), size)) return EFAULT;
    Put(record, 0, header);  // another thread may have written a command of another size since
    if (!IsAlive(request)) return ESRCH;

    const auto before = record;
    const int error = handler(std::span(record).first(size));
    if (error != 0 || record == before) return error;
    return WriteMemory(request.process, address, record.data(), size) ? 0 : EFAULT;
}

// A process id can pass to another process while a request is read; the answer to a dead one's goes nowhere.
bool DriverGate::IsAlive(const Request& request) const {
    uint64_t id = request.id;
    return ioctl(listener.Get(), SECCOMP_IOCTL_NOTIF_ID_VALID, &id) == 0;
}

void DriverGate::Answer(const Request& request, int error, bool isForeign) {
    std::fill(response.begin(), response.end(), 0);
    seccomp_notif_resp answer{};
    answer.id = request.id;
    answer.error = -error;
    answer.flags = isForeign ? SECCOMP_USER_NOTIF_FLAG_CONTINUE : 0;
    std::memcpy(response.data(), &answer, sizeof(answer));
    (void)ioctl(listener.Get(), SECCOMP_IOCTL_NOTIF_SEND, response.data());
}

}  // namespace norvad::board
