// Built outside the project, through pkg-config or FetchContent: the
// headers, the generated version header and the shared library are found
// by those means alone.
#include <TQBase/Version.h>  // first, to show that it stands alone

#include <TQBase/TQBase.h>

#include <cstdio>
#include <string>

int main() {
  const std::string digest = TQBase::TQMD5::get_md5("abc");
  const std::string version = std::to_string(TQBASE_VERSION_MAJOR) + "." +
                              std::to_string(TQBASE_VERSION_MINOR) + "." +
                              std::to_string(TQBASE_VERSION_PATCH);
  std::printf("TQBase %s: md5(abc) = %s\n", TQBASE_VERSION_STRING,
              digest.c_str());
  return digest == "900150983cd24fb0d6963f7d28e17f72" &&
                 version == TQBASE_VERSION_STRING
             ? 0
             : 1;
}
