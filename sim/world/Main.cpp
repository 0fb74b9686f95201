// The simulation's command line.
#include <cstdio>
#include "world/Command.h"

int main(int argc, char** argv) {
    const auto command = ParseCommand(argc, argv);
    if (!command) return 2;
    return Carry(*command);
}
