#include "tests/support/system/system_log.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace norvad::test {
namespace {

constexpr const char* socketPath = "/dev/log";

// "<14>Nov 21 10:00:00 norvad3: text" or "... norvad3[12]: text"
SystemLog::Entry Parse(std::string datagram) {
    while (!datagram.empty() && (datagram.back() == '\0' || datagram.back() == '\n')) datagram.pop_back();
    const auto priorityEnd = datagram.find('>');
    if (datagram.empty() || datagram[0] != '<' || priorityEnd == std::string::npos) return {-1, -1, datagram};
    const int priority = std::stoi(datagram.substr(1, priorityEnd - 1));
    constexpr size_t stampLength = 16;
    const auto tagEnd = datagram.find(": ", std::min(priorityEnd + 1 + stampLength, datagram.size()));
    const std::string text = tagEnd == std::string::npos ? datagram : datagram.substr(tagEnd + 2);
    return {priority & LOG_FACMASK, priority & LOG_PRIMASK, text};
}

}  // namespace

SystemLog::SystemLog() {
    unlink(socketPath);
    socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    stop = eventfd(0, EFD_CLOEXEC);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, socketPath, sizeof address.sun_path - 1);
    const void* bytes = &address;
    if (socket < 0 || stop < 0 || bind(socket, static_cast<const sockaddr*>(bytes), sizeof address) != 0)
        throw std::runtime_error("no system log at /dev/log");
    listener = std::thread([this] { Listen(); });
}

SystemLog::~SystemLog() {
    eventfd_write(stop, 1);
    listener.join();
    close(socket);
    close(stop);
    unlink(socketPath);
}

// Reads without a pause: a program whose log messages nobody takes would be held up.
void SystemLog::Listen() {
    pollfd set[] = {{socket, POLLIN, 0}, {stop, POLLIN, 0}};
    while (poll(set, 2, -1) >= 0 && set[1].revents == 0) {
        const std::lock_guard lock(mutex);
        TakeArrived();
    }
}

// A datagram is in the socket once its sender goes on; the thread may come to it much later.
void SystemLog::TakeArrived() const {
    char buffer[8192];
    for (ssize_t length = 0; (length = recv(socket, buffer, sizeof buffer, MSG_DONTWAIT)) > 0;)
        entries.push_back(Parse({buffer, static_cast<size_t>(length)}));
}

std::vector<SystemLog::Entry> SystemLog::Entries() const {
    const std::lock_guard lock(mutex);
    TakeArrived();
    return entries;
}

bool SystemLog::Has(const std::string& text) const {
    return Count(text) > 0;
}

size_t SystemLog::Count(const std::string& text) const {
    const std::lock_guard lock(mutex);
    TakeArrived();
    return static_cast<size_t>(
        std::count_if(entries.begin(), entries.end(), [&](const Entry& entry) { return entry.text == text; }));
}

bool SystemLog::WaitForText(const std::string& text, std::chrono::milliseconds deadline) const {
    return WaitFor([&] { return Has(text); }, deadline);
}

bool SystemLog::WaitForPart(const std::string& part, size_t skipped, std::chrono::milliseconds deadline) const {
    const auto contains = [&] {
        const std::lock_guard lock(mutex);
        TakeArrived();
        for (size_t i = skipped; i < entries.size(); ++i)
            if (entries[i].text.find(part) != std::string::npos) return true;
        return false;
    };
    return WaitFor(contains, deadline);
}

std::string SystemLog::Everything() const {
    std::string all;
    for (const auto& entry : Entries()) all += std::to_string(entry.severity) + " " + entry.text + "\n";
    return all;
}

}  // namespace norvad::test
