#pragma once

#include <windows.h>

#include <cstdarg>
#include <string>
#include <string_view>
#include <vector>

#include "clock.h"
#include "lock.h"
#include "log_file.h"
#include "settings.h"

namespace tools::logwriter {

class Line;

// The log of the process: holds, settings and the file behind the entry points, which say what each operation means.
// Failures come back as results or are thrown as Failure or std::bad_alloc.
class LogWriter {
public:
    // Called within DllMain.
    explicit LogWriter(HMODULE self);
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;

    HRESULT Init();
    HRESULT Deinit();

    HRESULT Write(DWORD level, HMODULE module, const wchar_t* function, const wchar_t* format, va_list arguments);
    HRESULT TrackEvent(HMODULE module, const wchar_t* name, const wchar_t* data);
    HRESULT EndEventTracking();
    HRESULT RemoveModule(const char* name);

    template <typename Change>
    HRESULT ChangeSettings(Change change) {
        const Guard guard(m_lock);
        Settings settings = m_settings;
        change(settings);
        return settings.AreValid() ? Adopt(settings) : E_INVALIDARG;
    }

    HRESULT SetSettingsFile(const std::wstring& path);
    HRESULT ApplySettings();
    HRESULT MonitorSettings(bool monitor);

    bool IsEnabled();
    DWORD Level();

private:
    struct ModuleName {
        HMODULE module;
        std::wstring name;
    };

    // Tells a changed settings file from the one read last.
    struct FileStamp {
        FILETIME written = {};
        DWORD size = 0;
        bool operator==(const FileStamp& other) const;
    };
    static FileStamp StampOf(const std::wstring& file);

    HRESULT Adopt(const Settings& settings);
    void Retarget();
    HRESULT Gate() const;
    void ReloadChangedSettings();
    std::wstring NameOf(HMODULE module);
    HRESULT Commit(Line& line);
    HRESULT CommitToFile(Line& line);
    HRESULT AppendStamped(Line& line);
    void AppendOwn(std::string_view level, std::wstring_view text);

    const HMODULE m_self;
    const std::wstring m_program;
    const std::wstring m_defaultSettingsFile;
    Lock m_lock;  // for all that follows
    unsigned m_holds = 0;
    unsigned m_eventHolds = 0;
    Settings m_settings;
    std::wstring m_settingsFile;
    FileStamp m_settingsStamp;
    bool m_monitor = false;
    DWORD m_monitoredAt = 0;
    std::vector<ModuleName> m_moduleNames;
    LogFile m_file;
    bool m_announced = false;
    DWORD m_lostLines = 0;
    Clock m_clock;
};

}  // namespace tools::logwriter
