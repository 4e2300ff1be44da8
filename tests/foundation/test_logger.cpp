#include <windows.h>
#include <doctest/doctest.h>

#include <map>
#include <string>
#include <vector>

#include "foundation/log_statement.h"
#include "foundation/module.h"
#include "support/import_patch.h"
#include "support/recorded_log.h"
#include "support/show_text.h"

namespace {

using logging::CLogDLL;
using Trace = std::vector<std::string>;

// What the facade asks of the system and of the module, in one sequence.
Trace g_trace;

HMODULE g_logModule = nullptr;  // given for a full path; the bare name is never found

HMODULE WINAPI PlayLoadLibrary(LPCWSTR name) {
    const std::wstring text = name;
    g_trace.push_back("load " + std::string(text.begin(), text.end()));
    return text.find(L'\\') != std::wstring::npos ? g_logModule : nullptr;
}
BOOL WINAPI PlayFreeLibrary(HMODULE module) {
    g_trace.push_back(module == g_logModule ? "free" : "free of another module");
    return TRUE;
}
void __cdecl PlayLogInit() {
    g_trace.emplace_back("LogInit()");
}
void __cdecl PlayLogDeinit() {
    g_trace.emplace_back("LogDeinit()");
}
void __cdecl PlayLogUninitDeskMetrics() {
    g_trace.emplace_back("LogUninitDeskMetrics()");
}
void __cdecl PlayLogRemoveModule(const char* name) {
    g_trace.push_back("LogRemoveModule(" + std::string(name) + ")");
}
FARPROC WINAPI PlayGetProcAddress(HMODULE module, LPCSTR name) {
    static const std::map<std::string, void*> functions = {
        {"LogInit", reinterpret_cast<void*>(&PlayLogInit)},
        {"LogDeinit", reinterpret_cast<void*>(&PlayLogDeinit)},
        {"LogUninitDeskMetrics", reinterpret_cast<void*>(&PlayLogUninitDeskMetrics)},
        {"LogRemoveModule", reinterpret_cast<void*>(&PlayLogRemoveModule)},
    };
    g_trace.push_back(module == g_logModule ? name : "a name of another module");
    const auto found = functions.find(name);
    return found != functions.end() ? reinterpret_cast<FARPROC>(found->second) : nullptr;
}

// The system as above, in a scope.
struct PlayedSystem {
    explicit PlayedSystem(HMODULE logModule) {
        g_logModule = logModule;
        g_trace.clear();
    }
    ImportPatch load{"LoadLibraryW", &PlayLoadLibrary};
    ImportPatch free{"FreeLibrary", &PlayFreeLibrary};
    ImportPatch find{"GetProcAddress", &PlayGetProcAddress};
};

std::string BesideOwnModule() {
    char path[MAX_PATH] = {};
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string file = path;
    return file.substr(0, file.rfind('\\')) + "\\log.dll";
}

int g_evaluated = 0;
const wchar_t* Evaluated() {
    ++g_evaluated;
    return L"text";
}

}  // namespace

TEST_CASE("the facade binds what it finds in a fixed order and leaves in a fixed order") {
    const PlayedSystem system(::GetModuleHandleW(L"kernel32.dll"));
    CLogDLL::AddReference();
    CHECK(g_trace == Trace{"load log.dll",     "load " + BesideOwnModule(),
                           "LogInit",          "LogInit()",
                           "LogApplySettings", "LogSetSettingsFile",
                           "LogEnable",        "LogSetLevel",
                           "LogSetPath",       "LogSetType",
                           "LogSetMode",       "LogSetMaxSize",
                           "LogSetDepth",      "LogWrite",
                           "LogIsEnabled",     "LogMonitorSettings",
                           "LogGetLevel",      "LogUninitDeskMetrics",
                           "LogTrackEvent",    "LogTrackEventData",
                           "LogRemoveModule"});
    g_trace.clear();
    CLogDLL::AddReference();
    LOG(kError, L"unwritten");  // there is no LogWrite
    CLogDLL::Release();
    CHECK(g_trace.empty());
    CLogDLL::Release();
    CHECK(g_trace == Trace{"LogDeinit", "LogDeinit()", "LogUninitDeskMetrics()",
                           "LogRemoveModule(logging::CLogDLL::~CLogDLL)", "free"});
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
    const std::vector<LogLine> whole = {{0, L"LogInit", L""},
                                        {kWarning, L"f", L"written"},
                                        {0, L"LogDeinit", L""},
                                        {0, L"LogUninitDeskMetrics", L""},
                                        {0, L"LogRemoveModule", L"logging::CLogDLL::~CLogDLL"}};
    std::vector<LogLine> twice = whole;
    twice.insert(twice.end(), whole.begin(), whole.end());
    CHECK(recorder.Lines() == twice);

    const PlayedSystem system(nullptr);
    g_evaluated = 0;
    CHECK_FALSE(CLogDLL::IsOpen());
    LOG(kError, L"%s", Evaluated());
    CHECK(g_evaluated == 0);
    CHECK(g_trace.empty());
}

TEST_CASE("a module is used for what it has") {
    const std::vector<std::wstring> all = {L"LogInit", L"LogWrite", L"LogDeinit", L"LogUninitDeskMetrics",
                                           L"LogRemoveModule"};
    for (const std::wstring& missing : all) {
        const LogRecorder recorder;
        {
            const EntryPointPatch patch(std::string(missing.begin(), missing.end()).c_str());
            CLogDLL::AddReference();
            LOG_AS(L"LogWrite", kInfo, L"x");
            CLogDLL::Release();
        }
        std::vector<std::wstring> calls;
        for (const LogLine& line : recorder.Lines()) {
            calls.push_back(line.function);
        }
        std::vector<std::wstring> expected = all;
        std::erase(expected, missing);
        CHECK(calls == expected);
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
    CHECK(recorder.Has(0, L"LogDeinit", L""));
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
    std::vector<std::wstring> names;
    {
        Named<std::vector<int>> named;
        named.destroyed = &destroyed;
        Named<int>::Static(fromStatic);
        names = {ExportedFunction(nullptr),          named.constructor, named.Virtual(), fromStatic, named.InLambda(),
                 named.Template(std::wstring(), 'c')};
    }
    names.emplace_back(destroyed);
    CHECK(names == std::vector<std::wstring>{L"ExportedFunction", L"Named::Named", L"Named::Virtual", L"Named::Static",
                                             L"Named::InLambda", L"Named::Template", L"Named::~Named"});
}
