#include "CommandLine.h"

int main(int argc, char** argv) {
    ostrana::fx::CommandLine commandLine;
    return commandLine.run(argc, argv);
}
