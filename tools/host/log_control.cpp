#include "log_control.h"

#include <cstdarg>

#include "common/failure.h"
#include "common/modules.h"
#include "common/utf8.h"

namespace tools::host {

namespace {

constexpr wchar_t kLogName[] = L"log.dll";

HRESULT WriteHeading(decltype(&::LogWrite) write, const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    DWORD level = LOG_LEVEL_ERROR;  // whatever level is set
    const HRESULT result = write(0, &level, nullptr, L"", format, arguments);
    va_end(arguments);
    return result;
}

std::wstring Hex(HRESULT result) {
    wchar_t text[11] = {};
    ::wsprintfW(text, L"0x%08x", static_cast<unsigned>(result));
    return text;
}

}  // namespace

LogControl::LogControl(const LogSettings& settings) : m_module(LoadBeside(kLogName)) {
    if (!m_module && !settings.file.empty()) {
        throw Failure(ERROR_INSTALL_FAILURE, L"no log can be written: " + Beside(kLogName) + L" cannot be loaded");
    }
    if (!m_module) {
        return;
    }
    // The first hold reads the log's settings file; what this run asks for stands above it.
    if (const auto init = Find<decltype(&::LogInit)>("LogInit")) {
        init();
    }
    Require<decltype(&::LogEnable)>("LogEnable", BOOL{!settings.file.empty()});
    if (!settings.file.empty()) {
        Start(settings);
    }
}

LogControl::~LogControl() {
    if (const auto deinit = m_module ? Find<decltype(&::LogDeinit)>("LogDeinit") : nullptr) {
        deinit();
    }
}

template <typename Function, typename... Arguments>
void LogControl::Require(const char* name, Arguments... arguments) const {
    const auto function = Find<Function>(name);
    const HRESULT result = function != nullptr ? function(arguments...) : E_NOINTERFACE;
    if (FAILED(result)) {
        throw Failure(ERROR_INSTALL_FAILURE, L"the log cannot be set up: " + FromUtf8(name) + L" gives " + Hex(result));
    }
}

void LogControl::Start(const LogSettings& settings) const {
    Require<decltype(&::LogMonitorSettings)>("LogMonitorSettings", FALSE);
    Require<decltype(&::LogSetType)>("LogSetType", DWORD{LOG_TYPE_FILE});
    Require<decltype(&::LogSetMode)>("LogSetMode", settings.mode);
    Require<decltype(&::LogSetPath)>("LogSetPath", settings.file.c_str());
    Require<decltype(&::LogSetLevel)>("LogSetLevel", settings.level);
    if (settings.mode == LOG_MODE_NEW) {
        Require<decltype(&::LogSetMaxSize)>("LogSetMaxSize", DWORD{0});  // to be read as a whole
    }
    const auto write = Find<decltype(&::LogWrite)>("LogWrite");
    if (write == nullptr || FAILED(WriteHeading(write, L"%s", settings.heading.c_str()))) {
        throw Failure(ERROR_INSTALL_FAILURE, L"the log file " + settings.file + L" cannot be written");
    }
}

}  // namespace tools::host
