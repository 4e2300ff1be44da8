#include "support/import_patch.h"

#include <map>
#include <stdexcept>

namespace {

template <typename T>
T* At(HMODULE module, DWORD offset) {
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + offset);
}

void** FindSlot(HMODULE module, const std::string& function) {
    const auto* const dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* const headers = At<IMAGE_NT_HEADERS32>(module, static_cast<DWORD>(dos->e_lfanew));
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); import->Name != 0; ++import) {
        auto* name = At<IMAGE_THUNK_DATA32>(module, import->OriginalFirstThunk);
        auto* slot = At<void*>(module, import->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL32(name->u1.Ordinal)) {
                continue;
            }
            const auto* const byName = At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData);
            if (function == reinterpret_cast<const char*>(byName->Name)) {
                return slot;
            }
        }
    }
    throw std::runtime_error("no such import: " + function);
}

void* Swap(void** slot, void* value) {
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    void* const old = *slot;
    *slot = value;
    ::VirtualProtect(slot, sizeof *slot, protection, &protection);
    return old;
}

std::map<std::string, void*> g_entryPoints;
FARPROC(WINAPI* g_getProcAddress)(HMODULE, LPCSTR) = nullptr;

FARPROC WINAPI PatchedGetProcAddress(HMODULE module, LPCSTR name) {
    const auto found = HIWORD(name) == 0 ? g_entryPoints.end() : g_entryPoints.find(name);
    if (found == g_entryPoints.end()) {
        return g_getProcAddress(module, name);
    }
    if (found->second == nullptr) {
        ::SetLastError(ERROR_PROC_NOT_FOUND);
    }
    return reinterpret_cast<FARPROC>(found->second);
}

}  // namespace

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement)
    : m_slot(FindSlot(module, function)), m_original(Swap(m_slot, replacement)) {}

ImportPatch::~ImportPatch() {
    Swap(m_slot, m_original);
}

EntryPointPatch::EntryPointPatch(const char* name, void* replacement)
    : m_name(name), m_patch("GetProcAddress", &PatchedGetProcAddress) {
    if (g_entryPoints.empty()) {
        g_getProcAddress = m_patch.Original<decltype(g_getProcAddress)>();
    }
    if (const auto outer = g_entryPoints.find(m_name); outer != g_entryPoints.end()) {
        m_outer = outer->second;
    }
    g_entryPoints[m_name] = replacement;
}

EntryPointPatch::~EntryPointPatch() {
    if (m_outer) {
        g_entryPoints[m_name] = *m_outer;
    } else {
        g_entryPoints.erase(m_name);
    }
}
