#include <cstdio>
#include <exception>

#include "lab/virtual_switch/options.h"
#include "lab/virtual_switch/status_server.h"
#include "lab/virtual_switch/virtual_switch.h"

using namespace norvad::board;

int main(int argc, char* argv[]) {
    try {
        const auto options = ParseOptions(argc, argv);
        if (options.help) {
            std::printf("%s", HelpText().c_str());
            return 0;
        }
        if (!options.askStatusOf.empty()) {
            PrintStatus(options.askStatusOf);
            return 0;
        }
        return VirtualSwitch(options).Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "norvad3-virtual-switch: %s\n", error.what());
        return 1;
    }
}
