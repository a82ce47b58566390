#include "lab/virtual_switch/driver_gate.h"

#include <linux/sockios.h>
#include <net/if.h>
#include <poll.h>
#include <seccomp.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "base/wire.h"
#include "lab/board/driver.h"
#include "switch/driver_records.h"

namespace norvad::board {

namespace {

constexpr size_t largestRecord = 64;

struct Release {
    void operator()(void* filter) const { seccomp_release(filter); }
};
using Filter = std::unique_ptr<void, Release>;

// A request and its answer, in the kernel's sizes, which may be larger than our header's.
class Notification {
public:
    Notification() { isThere = seccomp_notify_alloc(&request, &response) == 0; }
    Notification(const Notification&) = delete;
    Notification& operator=(const Notification&) = delete;
    ~Notification() { seccomp_notify_free(request, response); }

    bool Receive(int listener) { return isThere && seccomp_notify_receive(listener, request) == 0; }
    void Answer(int listener) const { (void)seccomp_notify_respond(listener, response); }

    seccomp_notif* request = nullptr;  // zero before it is received, the kernel insists
    seccomp_notif_resp* response = nullptr;

private:
    bool isThere;
};

bool ReadMemory(uint32_t process, uint64_t address, void* to, size_t length) {
    const iovec local{to, length};
    const iovec remote{reinterpret_cast<void*>(address), length};  // an address of the other process
    return process_vm_readv(static_cast<pid_t>(process), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(length);
}

bool WriteMemory(uint32_t process, uint64_t address, const void* from, size_t length) {
    const iovec local{const_cast<void*>(from), length};
    const iovec remote{reinterpret_cast<void*>(address), length};
    return process_vm_writev(static_cast<pid_t>(process), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(length);
}

// 0 or an errno value, negative.
int Load(void* filter) {
    constexpr uint64_t requestBits = 0xFFFFFFFF;  // a request code has no more, whatever stands above it
    const scmp_arg_cmp isDriverRequest{1, SCMP_CMP_MASKED_EQ, requestBits, SIOCDEVPRIVATE};
    for (const auto& [attribute, value] :
         {std::pair{SCMP_FLTATR_API_SYSRAWRC, 1U}, std::pair{SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_ALLOW}}) {
        if (const int error = seccomp_attr_set(filter, attribute, value)) return error;
    }
    const int ioctlCall = SCMP_SYS(ioctl);
    if (const int error = seccomp_rule_add_array(filter, SCMP_ACT_NOTIFY, ioctlCall, 1, &isDriverRequest)) return error;
    return seccomp_load(filter);
}

}  // namespace

int DriverGate::Install() {
    const Filter filter(seccomp_init(SCMP_ACT_ALLOW));
    const int error = filter ? Load(filter.get()) : -ENOMEM;
    if (error == 0) return seccomp_notify_fd(filter.get());
    errno = -error;
    return -1;
}

DriverGate::DriverGate(FileDescriptor listener, const std::string& interfaceName)
    : listener(std::move(listener)), interfaceName(interfaceName) {}

bool DriverGate::Serve(const Handler& handler) {
    pollfd set{listener.Get(), POLLIN, 0};  // receiving would wait
    if (poll(&set, 1, 0) != 1) return true;
    if ((set.revents & POLLIN) == 0) return false;
    Notification notification;
    if (!notification.Receive(listener.Get())) return true;
    const auto outcome = Carry(*notification.request, handler);
    notification.response->id = notification.request->id;
    notification.response->error = -outcome.error;
    notification.response->flags = outcome.isTheKernels ? SECCOMP_USER_NOTIF_FLAG_CONTINUE : 0;
    notification.Answer(listener.Get());
    return true;
}

DriverGate::Outcome DriverGate::Carry(const seccomp_notif& request, const Handler& handler) const {
    ifreq interfaceRequest;
    if (!ReadMemory(request.pid, request.data.args[2], &interfaceRequest, sizeof(interfaceRequest))) return {EFAULT};
    if (std::strncmp(interfaceRequest.ifr_name, interfaceName.c_str(), IFNAMSIZ) != 0) return {0, true};

    std::array<uint8_t, largestRecord> record;
    const auto address = reinterpret_cast<uint64_t>(interfaceRequest.ifr_data);
    if (!ReadMemory(request.pid, address, record.data(), sizeof(CommandHeader))) return {EFAULT};
    const auto header = *Peek<CommandHeader>(record);
    const size_t size = RecordSize(header.command).value_or(sizeof(CommandHeader));
    if (!ReadMemory(request.pid, address, record.data(), size)) return {EFAULT};
    Put(record, 0, header);  // another thread may have written a command of another size since
    // A process id can pass to another process while a request is read; the answer to a dead one's goes nowhere.
    if (seccomp_notify_id_valid(listener.Get(), request.id) != 0) return {ESRCH};

    const auto before = record;
    const int error = handler(std::span(record).first(size));
    if (error != 0 || record == before) return {error};
    return {WriteMemory(request.pid, address, record.data(), size) ? 0 : EFAULT};
}

}  // namespace norvad::board
