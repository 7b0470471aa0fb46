#ifndef TQBASE_LOCKS_H_
#define TQBASE_LOCKS_H_

#include "TQBase/TQBaseExport.h"

namespace TQBase {}  // namespace TQBase

#endif  // TQBASE_LOCKS_H_
