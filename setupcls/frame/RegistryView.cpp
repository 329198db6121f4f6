#include "frame/RegistryView.h"

namespace regview {

LONG OpenKey(HKEY root, const char* path, REGSAM access, UniqueKey& key)
{
    return RegOpenKeyExA(root, path, 0, access | kProductView, key.put());
}

LONG CreateKey(HKEY root, const char* path, UniqueKey& key)
{
    return RegCreateKeyExA(root, path, 0, nullptr, 0, KEY_ALL_ACCESS | kProductView, nullptr, key.put(), nullptr);
}

LONG DeleteKey(HKEY root, const char* path)
{
    return RegDeleteKeyExA(root, path, kProductView, 0);
}

}  // namespace regview
