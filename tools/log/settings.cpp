#include "settings.h"

#include <cerrno>
#include <cwchar>
#include <cwctype>

namespace tools::logwriter {

namespace {

constexpr wchar_t kSection[] = L"log";

struct Number {
    const wchar_t* key;
    DWORD Settings::*field;
};

// clang-format off
constexpr Number kNumbers[] = {
    {L"enabled",  &Settings::enabled},
    {L"level",    &Settings::level},
    {L"type",     &Settings::type},
    {L"mode",     &Settings::mode},
    {L"max_size", &Settings::maxSize},
    {L"depth",    &Settings::depth},
};

struct LevelName {
    const wchar_t* name;
    DWORD level;
};

constexpr LevelName kLevelNames[] = {
    {L"error",   LOG_LEVEL_ERROR},
    {L"warning", LOG_LEVEL_WARNING},
    {L"info",    LOG_LEVEL_INFO},
    {L"notice",  LOG_LEVEL_NOTICE},
};
// clang-format on

// Asks a call of the form "fills a buffer, or answers the size it needs" until the text fits.
template <typename Call>
std::wstring Ask(Call call) {
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD answer = call(text.data(), static_cast<DWORD>(text.size()));
        if (answer == 0) {
            return {};
        }
        if (answer < text.size()) {
            text.resize(answer);
            return text;
        }
        text.resize(answer + 1);
    }
}

// The value of `key`, empty if there is none. Blanks around it and a pair of quotes are taken off by the system.
std::wstring ReadValue(const std::wstring& file, const wchar_t* key) {
    std::wstring value(MAX_PATH, L'\0');
    for (;;) {
        const DWORD size = static_cast<DWORD>(value.size());
        const DWORD length = ::GetPrivateProfileStringW(kSection, key, L"", value.data(), size, file.c_str());
        if (length + 1 < size) {
            value.resize(length);
            return value;
        }
        value.resize(value.size() * 2);
    }
}

bool ParseNumber(const std::wstring& text, DWORD& number) {
    if (std::iswdigit(text.front()) == 0) {
        return false;
    }
    const bool hexadecimal = text.size() > 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X');
    wchar_t* end = nullptr;
    errno = 0;
    const unsigned long value = std::wcstoul(text.c_str(), &end, hexadecimal ? 16 : 10);
    if (*end != L'\0' || errno != 0) {
        return false;
    }
    number = value;
    return true;
}

bool ParseLevel(const std::wstring& text, DWORD& level) {
    for (const LevelName& row : kLevelNames) {
        if (::_wcsicmp(text.c_str(), row.name) == 0) {
            level = row.level;
            return true;
        }
    }
    return false;
}

}  // namespace

bool Settings::AreValid() const {
    return enabled <= 1 && (type & ~static_cast<DWORD>(LOG_TYPE_FILE | LOG_TYPE_DEBUGGER)) == 0 &&
           mode <= LOG_MODE_NEW && depth <= LOG_MAX_DEPTH;
}

std::wstring FullPath(const std::wstring& path) {
    const std::wstring expanded =
        Ask([&path](wchar_t* text, DWORD size) { return ::ExpandEnvironmentStringsW(path.c_str(), text, size); });
    return Ask(
        [&expanded](wchar_t* text, DWORD size) { return ::GetFullPathNameW(expanded.c_str(), size, text, nullptr); });
}

std::wstring DefaultLogPath() {
    return Ask([](wchar_t* text, DWORD size) { return ::GetTempPathW(size, text); }) + L"prodrm.log";
}

HRESULT ReadSettings(const std::wstring& file, Settings& settings) {
    if (::GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return HRESULT_FROM_WIN32(::GetLastError());
    }
    for (const Number& row : kNumbers) {
        const std::wstring value = ReadValue(file, row.key);
        if (value.empty()) {
            continue;
        }
        DWORD& field = settings.*row.field;
        const bool named = row.field == &Settings::level && ParseLevel(value, field);
        if (!named && !ParseNumber(value, field)) {
            return HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
        }
    }
    const std::wstring path = ReadValue(file, L"path");
    if (!path.empty()) {
        settings.path = FullPath(path);
    }
    return settings.AreValid() ? S_OK : HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
}

}  // namespace tools::logwriter
