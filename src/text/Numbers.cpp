#include "TQBase/StdString.h"
