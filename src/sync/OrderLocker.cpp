#include "TQBase/Locks.h"
