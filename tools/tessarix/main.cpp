// tessarix: fit models to measured data from the command line.
#include <iostream>

#include "command_line.hpp"

int main(int argc, char** argv) { return tessarix::tool::RunCommandLine(argc, argv, std::cout, std::cerr); }
