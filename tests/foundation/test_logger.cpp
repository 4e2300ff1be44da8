#include <windows.h>
#include <doctest/doctest.h>

#include <map>
#include <string>
#include <vector>

#include "foundation/log.h"
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

HRESULT WriteDirectly(const CLogDLL& logger, const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const HRESULT hr = logger.Write(kError, L"f", format, arguments);
    va_end(arguments);
    return hr;
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

TEST_CASE("without any module statements are evaluated and go nowhere") {
    const PlayedSystem system(nullptr);
    const CLogDLL* const logger = CLogDLL::AddReference();
    g_evaluated = 0;
    LOG(kError, L"%s", Evaluated());
    CHECK(g_evaluated == 1);
    CHECK(WriteDirectly(*logger, L"%s", L"x") == E_NOINTERFACE);
    CLogDLL::Release();
    CHECK(g_trace == Trace{"load log.dll", "load " + BesideOwnModule()});
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
    struct Row {
        const char* missing;
        std::vector<std::wstring> calls;
    };
    const Row rows[] = {
        {"LogInit", {L"LogWrite", L"LogDeinit", L"LogUninitDeskMetrics", L"LogRemoveModule"}},
        {"LogWrite", {L"LogInit", L"LogDeinit", L"LogUninitDeskMetrics", L"LogRemoveModule"}},
        {"LogDeinit", {L"LogInit", L"LogWrite", L"LogUninitDeskMetrics", L"LogRemoveModule"}},
        {"LogUninitDeskMetrics", {L"LogInit", L"LogWrite", L"LogDeinit", L"LogRemoveModule"}},
        {"LogRemoveModule", {L"LogInit", L"LogWrite", L"LogDeinit", L"LogUninitDeskMetrics"}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.missing);
        const LogRecorder recorder;
        {
            const EntryPointPatch missing(row.missing);
            CLogDLL::AddReference();
            LOG_AS(L"LogWrite", kInfo, L"x");
            CLogDLL::Release();
        }
        std::vector<std::wstring> calls;
        for (const LogLine& line : recorder.Lines()) {
            calls.push_back(line.function);
        }
        CHECK(calls == row.calls);
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

const wchar_t* FreeFunction(const std::wstring&, const wchar_t* (*)(int)) {
    return CALLER;
}
template <typename T, typename... More>
const wchar_t* FreeTemplate(T, More...) {
    return CALLER;
}
extern "C" __declspec(dllexport) const wchar_t* __cdecl ExportedFunction() {
    return CALLER;
}

class NamedBase {
public:
    virtual ~NamedBase() = default;
    virtual const wchar_t* Overridden() const noexcept { return CALLER; }
};

class Named : public NamedBase {
public:
    Named() : fromConstructor(CALLER) {}
    explicit Named(const wchar_t** destroyed) : fromConstructor(CALLER), m_destroyed(destroyed) {}
    ~Named() override {
        if (m_destroyed != nullptr) {
            *m_destroyed = CALLER;
        }
    }
    const wchar_t* Overridden() const noexcept override { return CALLER; }
    static std::map<std::wstring, std::vector<int>> Static(const wchar_t*& name) {
        name = CALLER;
        return {};
    }
    const wchar_t* InLambda() {
        const auto outer = [&](int) { return [](auto) { return CALLER; }(1L); };
        return outer(1);
    }
    template <typename T>
    static std::vector<T>* Through(const wchar_t*& name) {
        name = CALLER;
        return nullptr;
    }
    const wchar_t*& Reference(const wchar_t*& name) {
        name = CALLER;
        return name;
    }

    const wchar_t* fromConstructor;

private:
    const wchar_t** m_destroyed = nullptr;
};

namespace {

struct Hidden {
    static const wchar_t* Method(Hidden*) { return CALLER; }
};
template <typename T>
struct HiddenTemplate {
    static const wchar_t* Method() { return CALLER; }
};

}  // namespace

TEST_CASE("a log line names its function as Class::Method") {
    const wchar_t* destroyed = nullptr;
    const wchar_t* fromStatic = nullptr;
    const wchar_t* fromTemplate = nullptr;
    const wchar_t* reference = nullptr;
    { const Named named(&destroyed); }
    Named named;
    const NamedBase& base = named;
    Named::Static(fromStatic);
    Named::Through<std::map<int, Hidden>>(fromTemplate);
    const struct {
        std::wstring name;
        std::wstring expected;
    } rows[] = {
        {FreeFunction({}, nullptr), L"FreeFunction"},
        {FreeTemplate(std::wstring(), 1, 'c'), L"FreeTemplate"},
        {ExportedFunction(), L"ExportedFunction"},
        {named.fromConstructor, L"Named::Named"},
        {destroyed, L"Named::~Named"},
        {base.Overridden(), L"Named::Overridden"},
        {fromStatic, L"Named::Static"},
        {named.InLambda(), L"Named::InLambda"},
        {HiddenTemplate<Hidden>::Method(), L"HiddenTemplate::Method"},
        {fromTemplate, L"Named::Through"},
        {named.Reference(reference), L"Named::Reference"},
        {Hidden::Method(nullptr), L"Hidden::Method"},
    };
    for (const auto& row : rows) {
        CHECK(row.name == row.expected);
    }
}
