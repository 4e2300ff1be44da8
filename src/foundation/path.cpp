#include "foundation/path.h"

#include <shlwapi.h>

#include "foundation/log_statement.h"
#include "foundation/module.h"

namespace {

constexpr DWORD kModulePathChars = 0x104;

}  // namespace

bool CPath::GetCurrentPath(std::wstring& path) {
    wchar_t buffer[kModulePathChars + 1] = {};
    if (::GetModuleFileNameW(OwnModule(), buffer, kModulePathChars) == 0) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"GetModuleFileName failed 0x%x", error);
        return false;
    }
    const std::wstring file = buffer;
    const std::size_t separator = file.rfind(L'\\');
    if (separator == std::wstring::npos) {
        LOG(kError, L"path \"%s\" ???", file.c_str());
        return false;
    }
    path = file.substr(0, separator + 1);
    return true;
}

std::wstring PathAddSeparator(std::wstring& path) {
    if (!path.empty() && path.back() != L'\\' && path.back() != L'/') {
        path += L'\\';
    }
    return path;
}

std::wstring PathJoin(std::wstring& first, const std::wstring& second) {
    PathAddSeparator(first);
    first += second;
    return first;
}

std::wstring PathCanonical(std::wstring& path) {
    wchar_t buffer[MAX_PATH] = {};
    // The system's buffer is fixed at MAX_PATH characters; a longer text is refused without asking.
    if (path.size() < MAX_PATH && ::PathCanonicalizeW(buffer, path.c_str())) {
        path = buffer;
    }
    return path;
}
