// Compiled as part of the configuration layer: the registry's private header belongs to the
// registry area alone and must not be found. The build of this file is expected to fail.
#include "RegistryAccess.h"
