#include "TQBase/TQByteArray.h"
namespace TQBase {
TQByteArray::TQByteArray() : d(nullptr) {}
TQByteArray::TQByteArray(const char*, int size) : d(nullptr) { (void)size; }
int TQByteArray::size() const { return 8; }
}
