#include <cstdio>

int main() {
  std::puts("ribpolicy: scenarios are not wired up yet");
  return 0;
}
