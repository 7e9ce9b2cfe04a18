#include <unistd.h>

#include <iostream>

#include "cli.h"

int main(int argc, char** argv) {
    return talvex::explain::runExplain(argc, argv, std::cout, std::cerr, isatty(STDERR_FILENO));
}
