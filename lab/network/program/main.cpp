#include <cstdio>
#include <exception>

#include "lab/network/program/options.h"
#include "lab/network/program/run.h"

int main(int argc, char** argv) {
    using namespace norvad::network;
    try {
        const Options options = ParseOptions(argc, argv);
        if (options.help) {
            std::printf("%s", HelpText().c_str());
            return 0;
        }
        return Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "norvad3-network: %s\n", error.what());
        return 2;
    }
}
