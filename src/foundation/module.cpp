#include "foundation/module.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;  // placed by the linker at the module's load address

namespace {

HMODULE g_ownModule = reinterpret_cast<HMODULE>(&__ImageBase);

}  // namespace

HMODULE OwnModule() {
    return g_ownModule;
}

void ActForModule(HMODULE library) {
    g_ownModule = library;
}
