#include "foundation/registry_access.h"

#include "foundation/CWow64.h"

namespace {

bool UnderWow64() {
    return CWow64::Instance().IsWow64Process();
}

}  // namespace

static_assert(kReadDefaultView == 0x20019 && kRead64BitView == 0x20119 && kRead32BitView == 0x20219);
static_assert(kFullAccessDefaultView == 0xF003F);

REGSAM ReadNativeView() {
    return UnderWow64() ? kRead64BitView : kReadDefaultView;
}

REGSAM ReadOtherView() {
    return UnderWow64() ? kRead64BitView : kRead32BitView;
}

REGSAM FullAccess(bool x32view) {
    if (!UnderWow64()) {
        return KEY_ALL_ACCESS;
    }
    return x32view ? KEY_ALL_ACCESS | KEY_WOW64_32KEY : KEY_ALL_ACCESS | KEY_WOW64_64KEY;
}

REGSAM QueryValueAccess() {
    return UnderWow64() ? KEY_QUERY_VALUE | KEY_WOW64_64KEY : KEY_QUERY_VALUE;
}
