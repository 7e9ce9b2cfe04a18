#include "simulator.h"

int main(int argc, char** argv) {
    return talvex::simulator::runSimulator(argc, argv, stdout);
}
