#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/system/gptp_peer.h"
#include "tests/support/system/msrp_frame.h"
#include "tests/support/system/system_test.h"
#include "tests/support/system/virtual_board.h"

namespace norvad::test {

// A board whose ports 0 and 1 are cabled to the interfaces peer0 and peer1. At the end of each test everything that the
// daemon sent is dissected by tshark, and has to be plain Ethernet and whole.
class BoardTest : public SystemTest {
protected:
    BoardTest();
    void TearDown() override;

    // Starts the board, and returns when the daemon under it runs and knows both links.
    VirtualBoard& StartBoard(const std::vector<std::string>& daemonArguments = {"-n"},
                             const std::vector<std::string>& boardArguments = {});

    // The daemon is the same process as at the start.
    bool DaemonLives() const;

    // Answers the peer delay requests of port from now on, until the port is AS capable.
    void MakeAsCapable(int port);

    // Stops answering.
    void Silence(int port) { peers[port].reset(); }

    // Whether a frame from the daemon comes out of port that declares, or leaves, a value that begins so.
    bool WaitForDeclared(int port, MsrpType type, const Bytes& begin, size_t skipped = 0);
    bool WaitForLeft(int port, MsrpType type, const Bytes& begin, size_t skipped = 0);

    // The whole value of such a declaration; empty when none comes.
    Bytes DeclaredAt(int port, MsrpType type, const Bytes& begin, size_t skipped = 0);

    void SendMsrp(int port, const MsrpValue& value) { wires[port]->Send(MsrpFrame(stations[port], value)); }

    // norvad3-end-station at the far end of port, with those arguments.
    Process& StartStation(int port, std::vector<std::string> arguments);

    // A stream of the station at port 0.
    StreamText Stream() const;

    std::unique_ptr<Wire> wires[2];  // the far ends of the cables
    const Bytes stations[2] = {FromHex("02 00 00 00 00 a0"), FromHex("02 00 00 00 00 b1")};
    std::unique_ptr<VirtualBoard> board;
    pid_t daemon = 0;

private:
    std::unique_ptr<GptpPeer> peers[2];
    std::vector<std::unique_ptr<Process>> programs;
};

}  // namespace norvad::test
