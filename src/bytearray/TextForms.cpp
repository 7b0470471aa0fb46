#include "TQBase/TQByteArray.h"
