#pragma once

#include <windows.h>

#include <functional>
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

// Plays an import of this program for a scope by a function object. One object at a time of each place in the code.
template <typename Function, typename Place = decltype([] {})>
class Played;

template <typename Result, typename... Parameters, typename Place>
class Played<Result(WINAPI*)(Parameters...), Place> {
public:
    Played(const char* function, std::function<Result(Parameters...)> body) : m_patch(function, &Call) {
        s_body = std::move(body);
    }

    // The call itself, for bodies that pass it on.
    Result Real(Parameters... arguments) const {
        return m_patch.template Original<Result(WINAPI*)(Parameters...)>()(arguments...);
    }

private:
    static Result WINAPI Call(Parameters... arguments) { return s_body(arguments...); }

    inline static std::function<Result(Parameters...)> s_body;

    ImportPatch m_patch;
};

// PLAY(Sleep, [&](DWORD time) { ... }) in a scope; the body may pass a call on by played_Sleep.Real(time).
#define PLAY(function, ...) const Played<decltype(&::function)> played_##function(#function, __VA_ARGS__)

// Every call gives `result` and leaves `error` as the last error.
#define REFUSE(function, result, error) PLAY(function, [&](auto...) { return ::SetLastError(error), (result); })

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
