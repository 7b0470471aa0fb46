// Built through add_subdirectory: the alias target alone brings the headers,
// the export macro and the shared library.
#include <TQBase/TQBase.h>

int main() {
  TQBase::TQByteArray bytes("consumer", -1);
  return bytes.size() == 8 ? 0 : 1;
}
