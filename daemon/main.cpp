#include "daemon/program.h"
#include "daemon/run.h"

int main(int argc, char** argv) {
    return norvad::RunProgram(argc, argv, norvad::RunDaemon);
}
