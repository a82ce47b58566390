#include "daemon/assembly.h"
#include "daemon/program.h"

int main(int argc, char** argv) {
    return norvad::RunProgram(argc, argv, norvad::RunDaemon);
}
