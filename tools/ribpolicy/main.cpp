#include <iostream>

#include "tools/ribpolicy/Cli.h"

int main(int argc, char** argv) {
  return ribpolicy::runCli(argc, argv, std::cin, std::cout, std::cerr);
}
