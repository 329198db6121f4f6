// Compiled as part of the system layer, which lies below the registry: the include must not be
// found. The build of this file is expected to fail.
#include "CTambRegistry.h"
