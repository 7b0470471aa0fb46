#ifndef TQBASE_BUFFERFUNCTIONS_H_
#define TQBASE_BUFFERFUNCTIONS_H_

#include "TQBase/TQBaseExport.h"

namespace TQBase {}  // namespace TQBase

#endif  // TQBASE_BUFFERFUNCTIONS_H_
