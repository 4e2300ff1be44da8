/* log.dll: writes a text log, one line per statement.
 *
 * A process may hold the log several times over: each LogInit takes a hold, each LogDeinit gives one back. Lines are
 * written while at least one hold stands. Settings may be changed at any time, before the first LogInit too, and last
 * as long as the module stays loaded.
 *
 * Any thread may call any function, also from within DllMain. Texts are copied before a call returns. No call throws,
 * shows anything to the user or changes the thread's last error.
 *
 * Where nothing else is said, a function returns S_OK, or a failure that has changed nothing. E_INVALIDARG: a null
 * pointer or a value out of range. E_OUTOFMEMORY: no memory.
 */
#ifndef LOG_H
#define LOG_H

#include <windows.h>

#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Levels. A line is written if its value is not above the level set. */
enum {
    LOG_LEVEL_ERROR = 4,
    LOG_LEVEL_WARNING = 8,
    LOG_LEVEL_INFO = 0x10,
    LOG_LEVEL_NOTICE = 0x20 /* default: every line */
};

/* Where lines go; the values may be combined. */
enum {
    LOG_TYPE_FILE = 1, /* default */
    LOG_TYPE_DEBUGGER = 2
};

/* What becomes of a file that is already there when the log opens it. */
enum {
    LOG_MODE_APPEND = 0, /* default */
    LOG_MODE_NEW = 1     /* emptied */
};

#define LOG_MAX_DEPTH 99

/* Takes a hold on the log and on event tracking. The first hold reads the settings file if there is one; its failure
 * is returned, with the hold taken all the same. The file is opened by the first line. */
HRESULT __cdecl LogInit(void);

/* Gives a hold on the log back; the last one closes the file and ends event tracking. S_FALSE: there was no hold. */
HRESULT __cdecl LogDeinit(void);

/* Writes one line. `reserved` is 0. `level` is read, not changed. `module` is the module that speaks, or null for the
 * program. `function` names the caller, or is null. `format` is a printf format of the C runtime in which "%s" reads
 * wide text; `arguments` are left as after vprintf.
 * S_FALSE: the log is off or its level too low. HRESULT_FROM_WIN32(ERROR_NOT_READY): nobody holds the log. Any other
 * failure: the line could not be written, and is counted (a later line tells how many were lost). */
HRESULT __cdecl LogWrite(DWORD reserved, DWORD* level, HMODULE module, const wchar_t* function, const wchar_t* format,
                         va_list arguments);

/* Writes an event line, whatever the level, with data or without. Results as LogWrite; S_FALSE also when event
 * tracking has ended. */
HRESULT __cdecl LogTrackEvent(const wchar_t* name);
HRESULT __cdecl LogTrackEventData(const wchar_t* name, const wchar_t* data);

/* Gives a hold on event tracking back. The last one sends what was written to the disk, and events are then ignored
 * until the next LogInit. S_FALSE: there was no hold. */
HRESULT __cdecl LogUninitDeskMetrics(void);

/* Tells that a user of the log is about to be unloaded: cached module names are forgotten, and a line with `name` as
 * its function is written if others still hold the log. `name` is in the system's narrow code page. */
HRESULT __cdecl LogRemoveModule(const char* name);

/* Switches the log on (default) or off. */
HRESULT __cdecl LogEnable(BOOL enable);

/* TRUE if the log is on and somebody holds it. */
BOOL __cdecl LogIsEnabled(void);

/* The highest value that is written. 0 silences all levels. */
HRESULT __cdecl LogSetLevel(DWORD level);
DWORD __cdecl LogGetLevel(void);

/* The log file. Environment variables are expanded; a relative path counts from the current folder of this moment.
 * Null or empty: "prodrm.log" in the folder for temporary files. The folder must exist. */
HRESULT __cdecl LogSetPath(const wchar_t* path);

/* LOG_TYPE_ values, combined. 0: nowhere. */
HRESULT __cdecl LogSetType(DWORD type);

/* A LOG_MODE_ value, for the next opening: by the first hold or after a change of path. */
HRESULT __cdecl LogSetMode(DWORD mode);

/* The size in bytes that a file is not to exceed; default 10 MiB, 0 for no limit. A line longer than that gets a file
 * of its own. */
HRESULT __cdecl LogSetMaxSize(DWORD bytes);

/* How many full files are kept, as FILE.1 (the youngest) to FILE.n; default 3, at most LOG_MAX_DEPTH. 0: a full file
 * is emptied. */
HRESULT __cdecl LogSetDepth(DWORD files);

/* The settings file, taken like the path of LogSetPath. Null or empty: "log.ini" beside log.dll. It is not read now. */
HRESULT __cdecl LogSetSettingsFile(const wchar_t* path);

/* Reads the settings file. What it does not name stays as it is. HRESULT_FROM_WIN32(ERROR_INVALID_DATA): a value
 * cannot be understood, and nothing was taken over. Failures of finding the file are returned likewise. */
HRESULT __cdecl LogApplySettings(void);

/* TRUE: the settings file is read again once it has changed. LogWrite and the event calls look for a change, at most
 * once a second. Default FALSE. */
HRESULT __cdecl LogMonitorSettings(BOOL monitor);

#ifdef __cplusplus
}
#endif

#endif
