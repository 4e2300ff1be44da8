#include "author/snapshot/file_walk.h"

#include <windows.h>
#include <shlobj.h>

#include <algorithm>
#include <vector>

#include "author/snapshot/names.h"
#include "foundation/com.h"
#include "foundation/owned.h"
#include "foundation/text.h"

namespace tools::author {

namespace {

struct Entry {
    std::string key;  // by which the lines sort: the name as written, a folder with its backslash
    std::wstring name;
    DWORD attributes;
    ULONGLONG size;
    FILETIME time;

    bool IsLink() const { return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }
    bool IsFolder() const { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
};

// A folder whose entries are being written.
struct Level {
    std::vector<Entry> entries;
    std::size_t next = 0;
    Exclusions::Cursors inside;
    std::size_t pathLength;  // of the folder with its backslash
    std::size_t lineLength;
};

void AppendAttributes(std::string& line, DWORD attributes) {
    constexpr std::pair<DWORD, char> kLetters[] = {{FILE_ATTRIBUTE_DIRECTORY, 'd'},
                                                   {FILE_ATTRIBUTE_REPARSE_POINT, 'l'},
                                                   {FILE_ATTRIBUTE_READONLY, 'r'},
                                                   {FILE_ATTRIBUTE_HIDDEN, 'h'},
                                                   {FILE_ATTRIBUTE_SYSTEM, 's'}};
    for (const auto& [flag, letter] : kLetters) {
        if ((attributes & flag) != 0) {
            line += letter;
        }
    }
}

// `number` in that many digits.
void AppendDigits(std::string& line, unsigned number, int digits) {
    char text[8];
    for (int index = digits - 1; index >= 0; --index, number /= 10) {
        text[index] = static_cast<char>('0' + number % 10);
    }
    line.append(text, static_cast<std::size_t>(digits));
}

// By hand: the runtime's formatting would cost as much as the rest of the walk.
void AppendTime(std::string& line, const FILETIME& time) {
    SYSTEMTIME parts = {};
    ::FileTimeToSystemTime(&time, &parts);
    const ULONGLONG ticks = static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    AppendDigits(line, parts.wYear, 4);
    for (const auto& [mark, part] : {std::pair('-', parts.wMonth),
                                     {'-', parts.wDay},
                                     {'T', parts.wHour},
                                     {':', parts.wMinute},
                                     {':', parts.wSecond}}) {
        line += mark;
        AppendDigits(line, part, 2);
    }
    line += '.';
    AppendDigits(line, static_cast<unsigned>(ticks % 10'000'000), 7);
    line += 'Z';
}

// Empty for what is no shortcut, or none to a path.
std::wstring ShortcutTarget(const std::wstring& path) {
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    wchar_t target[MAX_PATH] = {};
    WIN32_FIND_DATAW found;
    if (FAILED(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                  reinterpret_cast<void**>(link.Put()))) ||
        FAILED(link.As(IID_IPersistFile, file)) || FAILED(file->Load(path.c_str(), STGM_READ)) ||
        FAILED(link->GetPath(target, ARRAYSIZE(target), &found, 0))) {
        return {};
    }
    return target;
}

class FileWalk {
public:
    FileWalk(const std::wstring& drive, const Exclusions& exclusions, LineWriter& out)
        : m_path(LR"(\\?\)" + drive + L"\\"), m_line(Escaped(drive) + "\\"), m_exclusions(exclusions), m_out(out) {}

    void Run(const std::wstring& drive) {
        Exclusions::Cursors inside;
        if (m_exclusions.ExcludesPath(drive, inside)) {
            return;
        }
        Enter(std::move(inside), FILE_ATTRIBUTE_DIRECTORY);
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            m_path.resize(level.pathLength);
            m_line.resize(level.lineLength);
            if (level.next == level.entries.size()) {
                m_levels.pop_back();
            } else {
                Visit(level, level.entries[level.next++]);
            }
        }
    }

private:
    // The level may move when another is entered: it is not looked at afterwards.
    void Visit(const Level& level, const Entry& entry) {
        Exclusions::Cursors inside;
        if (m_exclusions.Excludes(level.inside, entry.name, inside)) {
            return;
        }
        m_path += entry.name;
        m_line += entry.key;
        if (!entry.IsFolder()) {
            WriteFile(entry);
        } else if (entry.IsLink()) {
            WriteFolder(entry.attributes, ERROR_SUCCESS);
        } else {
            m_path += L'\\';
            Enter(std::move(inside), entry.attributes);
        }
    }

    void Enter(Exclusions::Cursors inside, DWORD attributes) {
        Level level{{}, 0, std::move(inside), m_path.size(), m_line.size()};
        WriteFolder(attributes, Read(level.entries));
        m_levels.push_back(std::move(level));
    }

    DWORD Read(std::vector<Entry>& entries) {
        WIN32_FIND_DATAW found;
        m_path += L'*';
        const OwnedFindHandle handle(::FindFirstFileW(m_path.c_str(), &found));
        DWORD error = handle ? ERROR_SUCCESS : ::GetLastError();
        m_path.pop_back();
        if (!handle) {
            return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;  // a drive's root without anything
        }
        do {
            const std::wstring_view name = found.cFileName;
            if (name != L"." && name != L"..") {
                Entry& entry = entries.emplace_back(Entry{
                    Escaped(name), std::wstring(name), found.dwFileAttributes,
                    static_cast<ULONGLONG>(found.nFileSizeHigh) << 32 | found.nFileSizeLow, found.ftLastWriteTime});
                if (entry.IsFolder()) {
                    entry.key += '\\';
                }
            }
        } while (::FindNextFileW(handle.Get(), &found));
        error = ::GetLastError();
        std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.key < b.key; });
        return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
    }

    void WriteFolder(DWORD attributes, DWORD error) {
        const std::size_t length = m_line.size();
        m_line += '\t';
        AppendAttributes(m_line, attributes);
        if (error != ERROR_SUCCESS) {
            m_line += " !" + std::to_string(error);
        }
        m_out.Write(m_line);
        m_line.resize(length);
    }

    void WriteFile(const Entry& entry) {
        m_line += '\t';
        m_line += std::to_string(entry.size);
        m_line += ' ';
        AppendTime(m_line, entry.time);
        if ((entry.attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                 FILE_ATTRIBUTE_REPARSE_POINT)) != 0) {
            m_line += ' ';
            AppendAttributes(m_line, entry.attributes);
        }
        if (entry.name.size() > 4 &&
            EqualsBlind(std::wstring_view(entry.name).substr(entry.name.size() - 4), L".lnk")) {
            // The shell takes no path with the mark of long paths.
            if (const std::wstring target = ShortcutTarget(m_path.substr(4)); !target.empty()) {
                m_line += " -> ";
                AppendEscaped(m_line, target);
            }
        }
        m_out.Write(m_line);
    }

    std::wstring m_path;
    std::string m_line;
    const Exclusions& m_exclusions;
    LineWriter& m_out;
    std::vector<Level> m_levels;
};

}  // namespace

void WriteFiles(const std::wstring& drive, const Exclusions& exclusions, LineWriter& out) {
    FileWalk(drive, exclusions, out).Run(drive);
}

}  // namespace tools::author
