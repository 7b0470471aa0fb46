#ifndef TQBASE_TQBYTEARRAY_H_
#define TQBASE_TQBYTEARRAY_H_

#include "TQBase/TQBaseExport.h"

namespace TQBase {

class TQBASE_EXPORT TQByteArray {
 public:
  TQByteArray();
  TQByteArray(const char* data, int size);
  int size() const;

 private:
  void* d;
};

}  // namespace TQBase

#endif  // TQBASE_TQBYTEARRAY_H_
