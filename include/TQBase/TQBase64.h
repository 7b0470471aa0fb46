#ifndef TQBASE_TQBASE64_H_
#define TQBASE_TQBASE64_H_

#include "TQBase/TQBaseExport.h"

namespace TQBase {}  // namespace TQBase

#endif  // TQBASE_TQBASE64_H_
