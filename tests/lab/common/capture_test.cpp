#include "lab/common/capture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/bytes.h"

namespace norvad::lab {
namespace {

using test::Bytes;
using test::FromHex;
using test::Part;

// What stands in a file, in host order, before the first frame and before each.
struct FileHeader {
    uint32_t magic;  // of stamps in nanoseconds
    uint16_t majorVersion, minorVersion;
    uint32_t zone, accuracy, snapshotLength, linkType;
    auto operator<=>(const FileHeader&) const = default;
};
struct FrameHeader {
    uint32_t seconds, nanoseconds, captured, length;
    auto operator<=>(const FrameHeader&) const = default;
};

// A capture that is written, and then read without the library that wrote it.
class CaptureFile : public testing::Test {
protected:
    ~CaptureFile() override { std::filesystem::remove(path); }

    void Read() {
        std::ifstream file(path, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), {});
    }

    Bytes Take(size_t length) {
        const Bytes part = Part(bytes, at, length);
        at += length;
        return part;
    }

    template <typename Record>
    Record Take() {
        Record record;
        std::memcpy(&record, Take(sizeof(record)).data(), sizeof(record));
        return record;
    }

    const std::string path = testing::TempDir() + "norvad-capture-" + std::to_string(getpid()) + ".pcap";
    Bytes bytes;
    size_t at = 0;
};

TEST_F(CaptureFile, BeginsWithEthernetAndNanoseconds) {
    { const Capture capture(path); }
    Read();

    EXPECT_EQ(Take<FileHeader>(), (FileHeader{0xA1B23C4D, 2, 4, 0, 0, 262144, 1}));
    EXPECT_EQ(at, bytes.size());
}

// A program whose times have another size than the library's would put the nanoseconds where the length is read.
TEST_F(CaptureFile, StampsAndLengthsComeBack) {
    const Bytes first = FromHex("01 80 c2 00 00 0e  02 00 00 00 00 01  88 f7  12 02");
    const Bytes second(1522, 0xA5);
    {
        Capture capture(path);
        capture.Write(first, 1'700'000'000'123'456'789);
        capture.Write(second, 1'700'000'001'999'999'999);
    }
    Read();

    (void)Take<FileHeader>();
    EXPECT_EQ(Take<FrameHeader>(), (FrameHeader{1'700'000'000, 123'456'789, 16, 16}));
    EXPECT_EQ(Take(first.size()), first);
    EXPECT_EQ(Take<FrameHeader>(), (FrameHeader{1'700'000'001, 999'999'999, 1522, 1522}));
    EXPECT_EQ(Take(second.size()), second);
    EXPECT_EQ(at, bytes.size());
}

TEST_F(CaptureFile, FrameIsInTheFileOnceFlushed) {
    Capture capture(path);
    capture.Write(Bytes(60), 0);
    capture.Flush();
    Read();

    EXPECT_EQ(bytes.size(), sizeof(FileHeader) + sizeof(FrameHeader) + 60);
}

}  // namespace
}  // namespace norvad::lab
