#ifndef TQBASE_ENCODING_H_
#define TQBASE_ENCODING_H_

#include "TQBase/TQBaseExport.h"

namespace TQBase {}  // namespace TQBase

#endif  // TQBASE_ENCODING_H_
