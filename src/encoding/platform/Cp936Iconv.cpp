#include "TQBase/Encoding.h"
