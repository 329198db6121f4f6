// The maker's product-map library on the example medium: it names the product of a product type.
//
//   BOOL __stdcall CPGetProductMapInfo(int productType, record* info)
//   record: 28 bytes; bytes 0-3 the product code, bytes 4-27 the product's name (NUL-terminated)
#include <windows.h>

#include <cstring>

namespace {

struct ProductMapRecord {
    DWORD productCode;
    char name[24];
};
static_assert(sizeof(ProductMapRecord) == 28, "the product-map record is 28 bytes");

struct MapEntry {
    int productType;
    const char* name;
};

const MapEntry kProducts[] = {
    {133, "BN Drosvane Backup"},
    {105, "BN Drosvane Backup NT"},
};

}  // namespace

extern "C" __declspec(dllexport) BOOL WINAPI CPGetProductMapInfo(int productType, ProductMapRecord* info)
{
    if (!info)
        return FALSE;
    for (const MapEntry& entry : kProducts) {
        if (entry.productType == productType) {
            info->productCode = static_cast<DWORD>(productType);
            lstrcpynA(info->name, entry.name, sizeof(info->name));
            return TRUE;
        }
    }
    return FALSE;
}
