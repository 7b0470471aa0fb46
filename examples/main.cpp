#include <TQBase/TQBase.h>

#include <cstdio>

int main() {
  TQBase::TQByteArray greeting("hello", -1);
  std::printf("size %d\n", greeting.size());
  return 0;
}
