#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/wire.h"
#include "lab/board/board.h"
#include "switch/driver_records.h"
#include "switch/i4_dsa_socket.h"
#include "tests/support/bytes.h"

namespace norvad::board::test {

using norvad::test::Bytes;
using norvad::test::Copy;
using norvad::test::FromHex;
using norvad::test::Join;
using norvad::test::Part;

inline constexpr int64_t second = 1'000'000'000;

inline CommandHeader Command(SwitchCommand command) {
    return {static_cast<uint32_t>(command), 0};
}

class EventLines final : public BoardObserver {
public:
    void Event(const std::string& text) override { lines.push_back(text); }
    std::vector<std::string> lines;
};

// Keeps what leaves the board.
class Wires final : public BoardWires {
public:
    bool SendOnPort(uint8_t port, std::span<const uint8_t> frame) override {
        if (refuses) return false;
        sent.emplace_back(port, Copy(frame));
        return true;
    }
    bool SendToCpu(std::span<const uint8_t> frame) override {
        if (refuses) return false;
        toCpu.push_back(Copy(frame));
        return true;
    }

    std::vector<std::pair<uint8_t, Bytes>> sent;
    std::vector<Bytes> toCpu;
    bool refuses = false;
};

// A board of gigabit ports that are up and let data pass, two of them unless told otherwise.
class BoardTest : public testing::Test {
protected:
    static constexpr MacAddress cpuAddress{0x02, 0, 0, 0, 0x10, 0x01};

    BoardTest() : BoardTest({.cpuAddress = cpuAddress, .cutTrailerMask = 0x02}) {}
    explicit BoardTest(const BoardConfig& config) : board(config, wires, events) {
        for (uint8_t port = 0; port < config.externalPorts; ++port) {
            board.SetLink(port, {true, true, PortLink::gigabit});
        }
    }

    template <typename Record>
    int Request(const Record& record, int64_t referenceNs = 0) {
        Bytes bytes = Copy(BytesOf(record));
        return board.Request(bytes, referenceNs);
    }
    int AddMulticast(uint8_t portMask, uint16_t vid, const MacAddress& address) {
        return Request(PortMcastRecord{Command(SwitchCommand::SWITCH_PORT_MCAST), 1, portMask, vid, address});
    }
    int SetVlan(int state, uint8_t portMask, uint16_t vid) {
        return Request(PortVlanRecord{Command(SwitchCommand::SWITCH_PORT_VLAN), state, portMask, vid});
    }

    Wires wires;
    EventLines events;
    Board board;
};

}  // namespace norvad::board::test
