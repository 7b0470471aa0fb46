#include "TQBase/TQMD5.h"
