#ifndef TQBASE_TQMD5_H_
#define TQBASE_TQMD5_H_

#include "TQBase/TQBaseExport.h"

namespace TQBase {}  // namespace TQBase

#endif  // TQBASE_TQMD5_H_
