#include "removal_log.h"

#include <windows.h>

#include <cwchar>
#include <vector>

#include "common/modules.h"
#include "foundation/owned.h"
#include "log_lines.h"

namespace tools::host {

namespace {

std::wstring Upper(std::wstring text) {
    ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

std::vector<std::wstring> QuotedTexts(const std::wstring& line) {
    std::vector<std::wstring> texts;
    std::size_t end = 0;
    for (std::size_t begin = line.find(L'"'); begin != std::wstring::npos; begin = line.find(L'"', end + 1)) {
        end = line.find(L'"', begin + 1);
        if (end == std::wstring::npos) {
            break;
        }
        texts.push_back(line.substr(begin + 1, end - begin - 1));
    }
    return texts;
}

// The system's words for the code at the end of a line; empty if there is none.
std::wstring WordsForCode(const std::wstring& line) {
    const std::size_t at = line.rfind(L"0x");
    wchar_t* end = nullptr;
    const unsigned long code = at != std::wstring::npos ? std::wcstoul(line.c_str() + at, &end, 16) : 0;
    if (code == 0 || *end != L'\0') {
        return {};
    }
    wchar_t words[512] = {};
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, words,
                                    ARRAYSIZE(words), nullptr);
    while (length > 0 && (words[length - 1] <= L' ' || words[length - 1] == L'.')) {
        --length;
    }
    return length > 0 ? L" (" + std::wstring(words, length) + L")" : std::wstring();
}

std::uint64_t SizeOf(const std::wstring& file) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!::GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data)) {
        return 0;
    }
    return (std::uint64_t{data.nFileSizeHigh} << 32) + data.nFileSizeLow;
}

bool HasLogModule() {
    return ::GetFileAttributesW(Beside(L"log.dll").c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Empty if there is no place for one.
std::wstring NewTemporaryFile() {
    wchar_t folder[MAX_PATH + 1] = {};
    wchar_t file[MAX_PATH + 1] = {};
    const DWORD length = ::GetTempPathW(MAX_PATH + 1, folder);
    return length != 0 && length <= MAX_PATH && ::GetTempFileNameW(folder, L"prd", 0, file) != 0 ? file : L"";
}

}  // namespace

void Complaints::Add(const std::wstring& line) {
    const std::vector<std::wstring> texts = QuotedTexts(line);
    for (std::size_t at = 0; at < texts.size(); ++at) {
        m_lines.emplace(Upper(texts[at]), line);
        if (at + 1 < texts.size()) {  // a hive and a key below it
            m_lines.emplace(Upper(texts[at] + L"\\" + texts[at + 1]), line);
        }
    }
}

std::wstring Complaints::About(const std::wstring& path) const {
    const auto found = m_lines.find(Upper(path));
    return found != m_lines.end() ? found->second + WordsForCode(found->second) : std::wstring();
}

RemovalLog::RemovalLog(Options& options) : m_file(options.log.file) {
    if (m_file.empty() && HasLogModule()) {
        m_file = NewTemporaryFile();
        m_isTemporary = !m_file.empty();
        options.log.file = m_file;
        options.log.level = LOG_LEVEL_WARNING;
    }
    m_begin = SizeOf(m_file);
}

RemovalLog::~RemovalLog() {
    if (m_isTemporary) {
        ::DeleteFileW(m_file.c_str());
    }
}

Complaints RemovalLog::Read() const {
    Complaints complaints;
    if (m_file.empty()) {
        return complaints;
    }
    // A file that has become smaller was begun anew.
    const std::uint64_t begin = SizeOf(m_file) >= m_begin ? m_begin : 0;
    for (const LogLine& line : ReadLogLines(m_file, begin)) {
        if (line.level == L"ERROR" || line.level == L"WARNING") {
            complaints.Add(line.text);
        }
    }
    return complaints;
}

}  // namespace tools::host
