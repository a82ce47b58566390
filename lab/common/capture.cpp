#include "lab/common/capture.h"

#include <pcap/pcap.h>

#include "lab/common/errors.h"

namespace norvad::lab {

namespace {

constexpr int snapshotLength = 262144;

}  // namespace

Capture::Capture(const std::string& path)
    : handle(pcap_open_dead_with_tstamp_precision(DLT_EN10MB, snapshotLength, PCAP_TSTAMP_PRECISION_NANO)),
      dumper(pcap_dump_open(handle.get(), path.c_str())) {
    if (!dumper) throw StartError(std::string("cannot write capture ") + pcap_geterr(handle.get()));
    Flush();
}

void Capture::Write(std::span<const uint8_t> frame, int64_t systemNs) {
    pcap_pkthdr header{};
    header.ts.tv_sec = static_cast<time_t>(systemNs / 1'000'000'000);
    header.ts.tv_usec = static_cast<suseconds_t>(systemNs % 1'000'000'000);  // nanoseconds in a file of this precision
    header.caplen = static_cast<bpf_u_int32>(frame.size());
    header.len = header.caplen;
    pcap_dump(reinterpret_cast<u_char*>(dumper.get()), &header, frame.data());
    written = true;
}

void Capture::Flush() {
    if (written) pcap_dump_flush(dumper.get());
    written = false;
}

void Capture::Close::operator()(pcap* closed) const {
    pcap_close(closed);
}

void Capture::Close::operator()(pcap_dumper* closed) const {
    pcap_dump_close(closed);
}

}  // namespace norvad::lab
