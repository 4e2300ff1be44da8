#pragma once

#include <windows.h>

#include <optional>
#include <string>

// Swaps one entry of a module's import table for a scope. Several patches of one entry end in reverse order.
class ImportPatch {
public:
    // `function` names the import, whatever module it comes from; `replacement` has its signature and convention.
    template <typename Function>
    ImportPatch(const char* function, Function* replacement, HMODULE module = ::GetModuleHandleW(nullptr))
        : ImportPatch(module, function, reinterpret_cast<void*>(replacement)) {}
    ~ImportPatch();
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    // What stood there before, as the type of the named function: patch.Original<decltype(&::DeleteFileW)>().
    template <typename Function>
    Function Original() const {
        return reinterpret_cast<Function>(m_original);
    }

private:
    ImportPatch(HMODULE module, const char* function, void* replacement);

    void** m_slot;
    void* m_original;
};

// Makes GetProcAddress answer `replacement` (null: not found, with ERROR_PROC_NOT_FOUND) for one name in a scope.
class EntryPointPatch {
public:
    explicit EntryPointPatch(const char* name, void* replacement = nullptr);
    ~EntryPointPatch();
    EntryPointPatch(const EntryPointPatch&) = delete;
    EntryPointPatch& operator=(const EntryPointPatch&) = delete;

private:
    std::string m_name;
    ImportPatch m_patch;
    std::optional<void*> m_outer;  // what an enclosing scope answers for the same name
};
