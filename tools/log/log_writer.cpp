#include "log_writer.h"

#include "common/modules.h"
#include "common/utf8.h"
#include "line.h"

namespace tools::logwriter {

namespace {

constexpr DWORD kMonitorPause = 1000;  // milliseconds
constexpr std::size_t kMostModuleNames = 64;

struct LevelMark {
    DWORD level;
    std::string_view mark;
};

constexpr LevelMark kLevelMarks[] = {
    {LOG_LEVEL_ERROR, "ERROR"},
    {LOG_LEVEL_WARNING, "WARNING"},
    {LOG_LEVEL_INFO, "INFO"},
    {LOG_LEVEL_NOTICE, "NOTICE"},
};

// A value between two levels counts as the higher value, the way the threshold does.
std::string_view MarkOf(DWORD level) {
    for (const LevelMark& row : kLevelMarks) {
        if (level <= row.level) {
            return row.mark;
        }
    }
    return "DEBUG";
}

std::wstring WithoutFolder(const std::wstring& path) {
    return path.substr(path.rfind(L'\\') + 1);
}

std::wstring FolderOf(const std::wstring& path) {
    return path.substr(0, path.rfind(L'\\') + 1);
}

}  // namespace

bool LogWriter::FileStamp::operator==(const FileStamp& other) const {
    return ::CompareFileTime(&written, &other.written) == 0 && size == other.size;
}

LogWriter::FileStamp LogWriter::StampOf(const std::wstring& file) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    ::GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data);
    return {data.ftLastWriteTime, data.nFileSizeLow};
}

LogWriter::LogWriter(HMODULE self)
    : m_self(self),
      m_program(ModulePath(nullptr)),
      m_defaultSettingsFile(FolderOf(ModulePath(self)) + L"log.ini"),
      m_settingsFile(m_defaultSettingsFile) {}

HRESULT LogWriter::Init() {
    const Guard guard(m_lock);
    ++m_eventHolds;
    if (++m_holds > 1) {
        return S_OK;
    }
    Retarget();
    const HRESULT result = ApplySettings();
    const bool noFile =
        result == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) || result == HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
    return noFile ? S_OK : result;
}

HRESULT LogWriter::Deinit() {
    const Guard guard(m_lock);
    if (m_holds == 0) {
        return S_FALSE;
    }
    if (--m_holds == 0) {
        m_eventHolds = 0;
        m_file.Close();
    }
    return S_OK;
}

HRESULT LogWriter::Adopt(const Settings& settings) {
    const bool moved = settings.path != m_settings.path;
    m_settings = settings;
    if (moved) {
        Retarget();
    }
    return S_OK;
}

void LogWriter::Retarget() {
    m_file.SetTarget(m_settings.path.empty() ? DefaultLogPath() : m_settings.path);
    m_announced = false;
}

HRESULT LogWriter::SetSettingsFile(const std::wstring& path) {
    const Guard guard(m_lock);
    m_settingsFile = path.empty() ? m_defaultSettingsFile : path;
    m_settingsStamp = {};
    return S_OK;
}

HRESULT LogWriter::ApplySettings() {
    const Guard guard(m_lock);
    m_settingsStamp = StampOf(m_settingsFile);
    Settings settings = m_settings;
    const HRESULT result = ReadSettings(m_settingsFile, settings);
    return SUCCEEDED(result) ? Adopt(settings) : result;
}

HRESULT LogWriter::MonitorSettings(bool monitor) {
    const Guard guard(m_lock);
    m_monitor = monitor;
    return S_OK;
}

void LogWriter::ReloadChangedSettings() {
    const DWORD now = ::GetTickCount();
    if (!m_monitor || now - m_monitoredAt < kMonitorPause) {
        return;
    }
    m_monitoredAt = now;
    if (!(StampOf(m_settingsFile) == m_settingsStamp)) {
        ApplySettings();
    }
}

bool LogWriter::IsEnabled() {
    const Guard guard(m_lock);
    return m_settings.enabled != 0 && m_holds > 0;
}

DWORD LogWriter::Level() {
    const Guard guard(m_lock);
    return m_settings.level;
}

// S_OK if lines go anywhere.
HRESULT LogWriter::Gate() const {
    if (m_holds == 0) {
        return HRESULT_FROM_WIN32(ERROR_NOT_READY);
    }
    return m_settings.enabled != 0 && m_settings.type != 0 ? S_OK : S_FALSE;
}

HRESULT LogWriter::Write(DWORD level, HMODULE module, const wchar_t* function, const wchar_t* format,
                         va_list arguments) {
    {
        const Guard guard(m_lock);
        ReloadChangedSettings();
        const HRESULT gate = Gate();
        if (gate != S_OK || level > m_settings.level) {
            return gate == S_OK ? S_FALSE : gate;
        }
    }
    Line line(MarkOf(level), NameOf(module), function);
    return line.FormattedText(format, arguments) ? Commit(line) : E_INVALIDARG;
}

HRESULT LogWriter::TrackEvent(HMODULE module, const wchar_t* name, const wchar_t* data) {
    {
        const Guard guard(m_lock);
        ReloadChangedSettings();
        const HRESULT gate = Gate();
        if (gate != S_OK || m_eventHolds == 0) {
            return gate == S_OK ? S_FALSE : gate;
        }
    }
    Line line("EVENT", NameOf(module), name);
    line.Text(data);
    return Commit(line);
}

HRESULT LogWriter::EndEventTracking() {
    const Guard guard(m_lock);
    if (m_eventHolds == 0) {
        return S_FALSE;
    }
    if (--m_eventHolds == 0) {
        m_file.Flush();
    }
    return S_OK;
}

HRESULT LogWriter::RemoveModule(const char* name) {
    {
        const Guard guard(m_lock);
        m_moduleNames.clear();
        if (Gate() != S_OK || m_settings.level < LOG_LEVEL_INFO) {
            return S_OK;
        }
    }
    Line line("INFO", NameOf(m_self), FromAnsi(name));
    line.Text(L"leaves the log");
    return Commit(line);
}

std::wstring LogWriter::NameOf(HMODULE module) {
    {
        const Guard guard(m_lock);
        for (const ModuleName& row : m_moduleNames) {
            if (row.module == module) {
                return row.name;
            }
        }
    }
    const std::wstring name = WithoutFolder(ModulePath(module));
    const Guard guard(m_lock);
    if (m_moduleNames.size() < kMostModuleNames) {
        m_moduleNames.push_back({module, name});
    }
    return name;
}

HRESULT LogWriter::Commit(Line& line) {
    HRESULT result = S_OK;
    bool toDebugger = false;
    {
        const Guard guard(m_lock);
        result = Gate();
        if (result != S_OK) {
            return result;
        }
        toDebugger = (m_settings.type & LOG_TYPE_DEBUGGER) != 0;
        if ((m_settings.type & LOG_TYPE_FILE) != 0) {
            result = CommitToFile(line);
        } else {
            line.Stamp(m_clock);
        }
    }
    if (toDebugger) {
        // Outside the lock: a debugger may stop the thread here.
        ::OutputDebugStringW(FromUtf8(line.View()).c_str());
    }
    return result;
}

HRESULT LogWriter::CommitToFile(Line& line) {
    HRESULT result = m_file.Prepare(m_settings.mode == LOG_MODE_NEW);
    if (SUCCEEDED(result)) {
        if (!m_announced && m_settings.level >= LOG_LEVEL_INFO) {
            AppendOwn("INFO", L"opened by " + m_program);
        }
        m_announced = true;
        if (m_lostLines != 0) {
            AppendOwn("WARNING", std::to_wstring(m_lostLines) + L" lines before this one could not be written");
        }
        result = AppendStamped(line);
    } else {
        line.Stamp(m_clock);
    }
    m_lostLines = SUCCEEDED(result) ? 0 : m_lostLines + 1;
    return result;
}

HRESULT LogWriter::AppendStamped(Line& line) {
    line.Stamp(m_clock);
    return m_file.Append(line.View(), m_settings.maxSize, m_settings.depth);
}

// A line of the log's own.
void LogWriter::AppendOwn(std::string_view level, std::wstring_view text) {
    Line line(level, L"log.dll", L"log");
    line.Text(text);
    AppendStamped(line);
}

}  // namespace tools::logwriter
