#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

struct pcap;
struct pcap_dumper;

namespace norvad::lab {

// A capture file with nanosecond stamps. Throws StartError where it cannot be written.
class Capture {
public:
    explicit Capture(const std::string& path);

    void Write(std::span<const uint8_t> frame, int64_t systemNs);

    // Hands what was written to the kernel, so that a reader, or a kill, finds it in the file.
    void Flush();

private:
    struct Close {
        void operator()(pcap* handle) const;
        void operator()(pcap_dumper* dumper) const;
    };
    std::unique_ptr<pcap, Close> handle;
    std::unique_ptr<pcap_dumper, Close> dumper;
    bool written = true;  // the file header
};

}  // namespace norvad::lab
