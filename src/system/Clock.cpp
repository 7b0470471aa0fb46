#include "TQBase/System.h"
