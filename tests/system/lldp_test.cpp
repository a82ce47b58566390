#include <sys/syscall.h>

#include <filesystem>

#include "tests/support/system/board_test.h"

namespace norvad::test {
namespace {

class RealLldpPeer : public BoardTest {
protected:
    // lldpd gives up its privileges for a user of its own and changes its root directory. In this world that user is
    // the only one there is, and the groups it would lay down it never had.
    void StartPeer() {
        ReplaceFile("/etc/passwd", "root:x:0:0:root:/root:/bin/sh\n_lldpd:x:0:0::/run/lldpd:/bin/false\n");
        ReplaceFile("/etc/group", "root:x:0:\n_lldpd:x:0:\n");
        std::filesystem::create_directory("/run/lldpd");
        peer = std::make_unique<Process>(
            std::vector<std::string>{"lldpd", "-dd", "-I", "peer0", "-u", "/run/lldpd.socket", "-L", ""},
            std::vector<AnsweredCall>{{SYS_setgroups, 0}});
    }

    std::unique_ptr<Process> peer;
};

TEST_F(RealLldpPeer, FramesAreConsumedByTheirHandler) {
    StartBoard({"-n", "-d", "SOCKET", "2"});
    EXPECT_FALSE(log.Has(" [SW-LLDP] Handle "));

    StartPeer();

    EXPECT_TRUE(log.WaitForPart(" [SW-LLDP] Handle ", 0, std::chrono::seconds(100)))
        << peer->Errors() << peer->Output() << Log();

    EXPECT_TRUE(peer->IsRunning()) << peer->Errors();
    EXPECT_TRUE(DaemonLives());
}

}  // namespace
}  // namespace norvad::test
