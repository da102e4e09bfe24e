// Herder: program entry. Everything else lives in the game library.
#include "Program.h"

int main(int argc, char** argv) {
    return Program::run(argc, argv);
}
