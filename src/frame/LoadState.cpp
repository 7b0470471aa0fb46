#include "frame/LoadState.h"

#include "bytearray/ByteArrayData.h"
#include "system/platform/Clock.h"

namespace TQBase {
namespace detail {

int counterAvailable = 0;
long long counterFrequency = 0;
TQByteArrayRef* sharedNull = nullptr;
const char emptyBuffer[1] = {0};

namespace {

// Both steps run in this order before any client's static initialisers: the
// loader initialises a shared library before the programs that need it, and
// the priority puts this object first where the objects are linked
// statically. Nothing here is ever freed; an empty TQByteArray destroyed
// late still finds sharedNull intact.
struct LoadTimeSteps {
  LoadTimeSteps() {
    counterAvailable = platform::queryCounterFrequency(&counterFrequency);
    sharedNull = new TQByteArrayRef();
  }
};

__attribute__((init_priority(101))) LoadTimeSteps loadTimeSteps;

}  // namespace
}  // namespace detail
}  // namespace TQBase
