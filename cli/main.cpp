#include <cstdio>

#include "app/version.h"

int main() {
  std::printf("ferrox %s\n", ferrox::ProgramVersion().c_str());
  return 0;
}
