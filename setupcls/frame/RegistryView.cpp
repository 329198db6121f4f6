#include "frame/RegistryView.h"

namespace regview {

namespace {

// Whatever a failed call left in its output is no key: it is let go, never closed.
LONG Kept(LONG status, UniqueKey& key)
{
    if (status != ERROR_SUCCESS)
        key.release();
    return status;
}

}  // namespace

LONG OpenKey(HKEY root, const char* path, REGSAM access, UniqueKey& key)
{
    return Kept(RegOpenKeyExA(root, path, 0, access | kProductView, key.put()), key);
}

LONG CreateKey(HKEY root, const char* path, UniqueKey& key)
{
    return Kept(RegCreateKeyExA(root, path, 0, nullptr, 0, KEY_ALL_ACCESS | kProductView, nullptr, key.put(), nullptr),
                key);
}

LONG DeleteKey(HKEY root, const char* path)
{
    return RegDeleteKeyExA(root, path, kProductView, 0);
}

}  // namespace regview
