#include "foundation/module.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;  // placed by the linker at the module's load address

HMODULE OwnModule() {
    return reinterpret_cast<HMODULE>(&__ImageBase);
}
