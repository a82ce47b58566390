#include "tests/support/system/board_test.h"

#include <csignal>

namespace norvad::test {
namespace {

const char* peerInterfaces[] = {"peer0", "peer1"};

bool IsWholeAndPlain(const Dissected& frame) {
    return !frame.malformed &&
           (frame.protocols.find("mrp-msrp") != std::string::npos ||
            frame.protocols.find("mrp-mvrp") != std::string::npos || frame.protocols.find("ptp") != std::string::npos);
}

}  // namespace

BoardTest::BoardTest() {
    LayCable("port0", "peer0");
    LayCable("port1", "peer1");
    for (int port : {0, 1}) wires[port] = std::make_unique<Wire>(peerInterfaces[port]);
}

void BoardTest::TearDown() {
    if (!board) return;
    board->Program().Signal(SIGTERM);
    EXPECT_TRUE(board->Program().WaitForExit().has_value()) << board->Program().Output();
    size_t whole = 0;
    for (const char* capture : {"/port0.pcap", "/port1.pcap"}) {
        for (const auto& frame : Dissect(VirtualBoard::captures + std::string(capture), VirtualBoard::Address())) {
            EXPECT_TRUE(IsWholeAndPlain(frame)) << capture << " " << frame.protocols;
            ++whole;
        }
    }
    EXPECT_GT(whole, 0U) << "the daemon sent nothing at all";
}

VirtualBoard& BoardTest::StartBoard(const std::vector<std::string>& daemonArguments,
                                    const std::vector<std::string>& boardArguments) {
    const size_t seen[] = {wires[0]->Received().size(), wires[1]->Received().size()};
    board = std::make_unique<VirtualBoard>(daemonArguments, boardArguments);
    daemon = board->WaitForDaemon();
    EXPECT_GT(daemon, 0) << board->Program().Output() << board->Program().Errors() << Log();
    for (int port : {0, 1}) EXPECT_TRUE(WaitForDeclared(port, msrpDomain, FromHex("05"), seen[port])) << Log();
    return *board;
}

bool BoardTest::DaemonLives() const {
    return ProcessesNamed("norvad3") == std::vector<pid_t>{daemon};
}

void BoardTest::MakeAsCapable(int port) {
    peers[port] = std::make_unique<GptpPeer>(peerInterfaces[port], stations[port]);
    EXPECT_TRUE(log.WaitForText("[SW-PTP] Port " + std::to_string(port) + " IS AVB capable")) << Log();
}

bool BoardTest::WaitForDeclared(int port, MsrpType type, const Bytes& begin, size_t skipped) {
    const auto declares = [&](const Bytes& frame) { return Declares(frame, type, begin); };
    return wires[port]->WaitForFrame(declares, skipped).has_value();
}

bool BoardTest::WaitForLeft(int port, MsrpType type, const Bytes& begin, size_t skipped) {
    const auto leaves = [&](const Bytes& frame) { return Leaves(frame, type, begin); };
    return wires[port]->WaitForFrame(leaves, skipped).has_value();
}

Bytes BoardTest::DeclaredAt(int port, MsrpType type, const Bytes& begin, size_t skipped) {
    const auto declares = [&](const Bytes& frame) { return Declares(frame, type, begin); };
    const auto frame = wires[port]->WaitForFrame(declares, skipped);
    return frame ? DeclaredValue(*frame, type, begin).firstValue : Bytes{};
}

Process& BoardTest::StartStation(int port, std::vector<std::string> arguments) {
    std::vector<std::string> command{NORVAD_END_STATION, "--interface", peerInterfaces[port]};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return *programs.emplace_back(std::make_unique<Process>(command));
}

StreamText BoardTest::Stream() const {
    StreamText stream;
    stream.id = Join({stations[0], FromHex("00 01")});
    stream.destination = FromHex("91 e0 f0 00 01 00");
    return stream;
}

}  // namespace norvad::test
