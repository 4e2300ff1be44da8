#include <windows.h>
#include <doctest/doctest.h>

#include <map>

#include "foundation/log_statement.h"
#include "foundation/module.h"
#include "support/import_patch.h"
#include "support/programs.h"
#include "support/recorded_log.h"

namespace {

using logging::CLogDLL;

// What the facade asks of the system and of the module, in one sequence.
Lines g_trace;

void __cdecl PlayLogInit() {
    g_trace.emplace_back(L"LogInit()");
}
void __cdecl PlayLogDeinit() {
    g_trace.emplace_back(L"LogDeinit()");
}
void __cdecl PlayLogUninitDeskMetrics() {
    g_trace.emplace_back(L"LogUninitDeskMetrics()");
}
void __cdecl PlayLogRemoveModule(const char* name) {
    g_trace.push_back(L"LogRemoveModule(" + std::wstring(name, name + ::lstrlenA(name)) + L")");
}

// A system that knows the log module by its full path alone.
struct PlayedSystem {
    HMODULE logModule;

    Played<decltype(&::LoadLibraryW), PlayedSystem> load{"LoadLibraryW", [this](LPCWSTR name) {
                                                             g_trace.push_back(L"load " + std::wstring(name));
                                                             return ::wcschr(name, L'\\') ? logModule : nullptr;
                                                         }};
    Played<decltype(&::FreeLibrary), PlayedSystem> free{"FreeLibrary", [this](HMODULE module) {
                                                            g_trace.push_back(module == logModule ? L"free" : L"?");
                                                            return TRUE;
                                                        }};
    Played<decltype(&::GetProcAddress), PlayedSystem> find{
        "GetProcAddress", [this](HMODULE module, LPCSTR name) {
            const std::map<std::string, void*> functions = {
                {"LogInit", reinterpret_cast<void*>(&PlayLogInit)},
                {"LogDeinit", reinterpret_cast<void*>(&PlayLogDeinit)},
                {"LogUninitDeskMetrics", reinterpret_cast<void*>(&PlayLogUninitDeskMetrics)},
                {"LogRemoveModule", reinterpret_cast<void*>(&PlayLogRemoveModule)},
            };
            g_trace.push_back(module == logModule ? std::wstring(name, name + ::lstrlenA(name)) : L"?");
            const auto found = functions.find(name);
            return found != functions.end() ? reinterpret_cast<FARPROC>(found->second) : nullptr;
        }};
};

}  // namespace

TEST_CASE("the facade binds what it finds in a fixed order and leaves in a fixed order") {
    const PlayedSystem system{::GetModuleHandleW(L"kernel32.dll")};
    g_trace.clear();
    CLogDLL::AddReference();
    CHECK(Joined(g_trace, L" ") ==
          L"load log.dll load " + BesideTest(L"log.dll") +
              L" LogInit LogInit() LogApplySettings LogSetSettingsFile LogEnable LogSetLevel LogSetPath LogSetType "
              L"LogSetMode LogSetMaxSize LogSetDepth LogWrite LogIsEnabled LogMonitorSettings LogGetLevel "
              L"LogUninitDeskMetrics LogTrackEvent LogTrackEventData LogRemoveModule");
    g_trace.clear();
    CLogDLL::AddReference();
    LOG(kError, L"unwritten");  // there is no LogWrite
    CLogDLL::Release();
    CHECK(g_trace.empty());
    CLogDLL::Release();
    CHECK(Joined(g_trace, L" ") ==
          L"LogDeinit LogDeinit() LogUninitDeskMetrics() LogRemoveModule(logging::CLogDLL::~CLogDLL) free");
}

TEST_CASE("a closed gate evaluates nothing and brings no module up, also after surplus releases") {
    const LogRecorder recorder;
    CLogDLL::Release();
    for (int round = 0; round < 2; ++round) {
        for (int reference = 0; reference < 3; ++reference) {
            CLogDLL::AddReference();
        }
        CLogDLL::Release();
        CLogDLL::Release();
        CHECK(CLogDLL::IsOpen());
        LOG_AS(L"f", kWarning, L"written");
        CLogDLL::Release();
        CLogDLL::Release();
    }
    const std::wstring whole =
        L"C LogInit:  / W f: written / C LogDeinit:  / C LogUninitDeskMetrics:  / C LogRemoveModule: "
        L"logging::CLogDLL::~CLogDLL";
    CHECK(Joined(recorder.Texts()) == whole + L" / " + whole);

    const PlayedSystem system{nullptr};
    g_trace.clear();
    int evaluated = 0;
    CHECK_FALSE(CLogDLL::IsOpen());
    LOG(kError, L"%d", ++evaluated);
    CHECK(evaluated == 0);
    CHECK(g_trace.empty());
}

TEST_CASE("a module is used for what it has") {
    const std::wstring all = L"LogInit LogWrite LogDeinit LogUninitDeskMetrics LogRemoveModule";
    for (const std::wstring& missing : Split(all, L' ')) {
        const LogRecorder recorder;
        {
            const EntryPointPatch patch(Utf8(missing).c_str());
            CLogDLL::AddReference();
            LOG_AS(L"LogWrite", kInfo, L"x");
            CLogDLL::Release();
        }
        std::wstring calls;
        for (const LogLine& line : recorder.Lines()) {
            calls += L' ' + line.function;
        }
        CHECK(calls == Replaced(L' ' + all, L' ' + missing, L""));
    }
}

namespace {

struct Written {
    DWORD reserved = 1;
    DWORD level = 0;
    HMODULE module = nullptr;
    std::wstring function;
    std::wstring format;
    std::wstring text;
    bool openAfterLastRelease = false;
} g_written;

HRESULT __cdecl WriteAndDropReference(DWORD reserved, DWORD* level, HMODULE module, const wchar_t* function,
                                      const wchar_t* format, va_list arguments) {
    CLogDLL::Release();  // the only reference but that of the statement itself
    wchar_t text[64] = {};
    ::_vsnwprintf(text, 63, format, arguments);
    g_written = {reserved, *level, module, function, format, text, CLogDLL::IsOpen()};
    return E_FAIL;
}

}  // namespace

TEST_CASE("LogWrite gets its six arguments, and the statement's reference outlives the owner's") {
    const LogRecorder recorder;
    const EntryPointPatch write("LogWrite", reinterpret_cast<void*>(&WriteAndDropReference));
    CLogDLL::AddReference();
    LOG_AS(L"C::M", kNotice, L"%s=%d (0x%x)", L"ключ", -5, 0xABCDu);
    CHECK(g_written.reserved == 0);
    CHECK(g_written.level == 0x20);
    CHECK(g_written.module == ::GetModuleHandleW(nullptr));
    CHECK(g_written.function == L"C::M");
    CHECK(g_written.format == L"%s=%d (0x%x)");
    CHECK(g_written.text == L"ключ=-5 (0xabcd)");
    CHECK(g_written.openAfterLastRelease);
    CHECK_FALSE(CLogDLL::IsOpen());
    CHECK(recorder.Has(L"C LogDeinit: "));
}

// The name of the enclosing function, for each form in which the library has functions.

extern "C" __declspec(dllexport) const wchar_t* __cdecl ExportedFunction(const wchar_t* (*)(int)) {
    return CALLER;
}

namespace {

template <typename T>
struct Named {
    Named() : constructor(CALLER) {}
    ~Named() { *destroyed = CALLER; }
    virtual const wchar_t* const& Virtual() const noexcept { return constructor = CALLER; }
    static std::map<std::wstring, std::vector<int>>* Static(const wchar_t*& name) {
        name = CALLER;
        return nullptr;
    }
    const wchar_t* InLambda() {
        const auto outer = [&](int) { return [](auto) { return CALLER; }(1L); };
        return outer(1);
    }
    template <typename... More>
    const wchar_t* Template(More...) {
        return CALLER;
    }

    mutable const wchar_t* constructor;
    const wchar_t** destroyed = nullptr;
};

}  // namespace

TEST_CASE("a log line names its function as Class::Method") {
    const wchar_t* destroyed = nullptr;
    const wchar_t* fromStatic = nullptr;
    Lines names;
    {
        Named<std::vector<int>> named;
        named.destroyed = &destroyed;
        Named<int>::Static(fromStatic);
        names = {ExportedFunction(nullptr),          named.constructor, named.Virtual(), fromStatic, named.InLambda(),
                 named.Template(std::wstring(), 'c')};
    }
    names.emplace_back(destroyed);
    CHECK(Joined(names, L" ") ==
          L"ExportedFunction Named::Named Named::Virtual Named::Static Named::InLambda "
          L"Named::Template Named::~Named");
}
