#include "TQBase/TQBase64.h"
