#include "TQBase/BufferFunctions.h"
