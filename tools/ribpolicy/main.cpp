#include <iostream>

#include "tools/ribpolicy/Cli.h"

int main(int argc, char** argv) {
  return ribpolicy::runCli(argc, argv, std::cout, std::cerr);
}
