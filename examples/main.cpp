// A program built against the installed package: shows that headers, the
// export macro and the shared library are all found through find_package.
#include <TQBase/TQBase.h>

#include <cstdio>

int main() {
  TQBase::TQByteArray greeting("hello, world", -1);
  TQBase::TQByteArray copy = greeting;  // shared until one side writes
  copy.resize(5);
  std::printf("%s / %s\n", greeting.constData(), copy.constData());
  std::printf("0x%08X\n", TQBase::ToBigEndianInt32(0x01020304u));
  return greeting.size() == 12 && copy.size() == 5 ? 0 : 1;
}
