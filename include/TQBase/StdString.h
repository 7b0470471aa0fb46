#ifndef TQBASE_STDSTRING_H_
#define TQBASE_STDSTRING_H_

#include "TQBase/TQBaseExport.h"

namespace TQBase {}  // namespace TQBase

#endif  // TQBASE_STDSTRING_H_
