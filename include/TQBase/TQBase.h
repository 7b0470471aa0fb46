#ifndef TQBASE_TQBASE_H_
#define TQBASE_TQBASE_H_

#include "TQBase/BufferFunctions.h"
#include "TQBase/Encoding.h"
#include "TQBase/Locks.h"
#include "TQBase/StdString.h"
#include "TQBase/System.h"
#include "TQBase/TQBase64.h"
#include "TQBase/TQByteArray.h"
#include "TQBase/TQMD5.h"

#endif  // TQBASE_TQBASE_H_
