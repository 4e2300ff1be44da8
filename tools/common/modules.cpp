#include "common/modules.h"

#include <utility>

namespace tools {

namespace {

// A call of the form "fills a buffer, or answers the size it needs".
template <typename Call>
std::wstring Ask(const Call& call) {
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD answer = call(text.data(), static_cast<DWORD>(text.size()));
        if (answer < text.size()) {
            text.resize(answer);
            return text;
        }
        text.resize(answer + 1);
    }
}

constexpr wchar_t kPath[] = L"PATH";

// For a scope, a library loaded by its mere name is not found in the current folder or along PATH.
class NarrowSearch {
public:
    NarrowSearch()
        : m_folder(Ask([](wchar_t* text, DWORD size) { return ::GetCurrentDirectoryW(size, text); })),
          m_path(Ask([](wchar_t* text, DWORD size) { return ::GetEnvironmentVariableW(kPath, text, size); })) {
        ::SetCurrentDirectoryW(OwnFolder().c_str());
        ::SetEnvironmentVariableW(kPath, nullptr);
    }
    ~NarrowSearch() {
        const DWORD error = ::GetLastError();
        ::SetEnvironmentVariableW(kPath, m_path.c_str());
        ::SetCurrentDirectoryW(m_folder.c_str());
        ::SetLastError(error);
    }
    NarrowSearch(const NarrowSearch&) = delete;
    NarrowSearch& operator=(const NarrowSearch&) = delete;

private:
    std::wstring m_folder;
    std::wstring m_path;
};

}  // namespace

std::wstring ModulePath(HMODULE module) {
    // A path that does not fit is cut, and the call answers the whole size of the buffer.
    return Ask([module](wchar_t* text, DWORD size) { return ::GetModuleFileNameW(module, text, size); });
}

std::wstring OwnFolder() {
    const std::wstring path = ModulePath(nullptr);
    return path.substr(0, path.find_last_of(L'\\'));
}

std::wstring Beside(const std::wstring& file) {
    return OwnFolder() + L"\\" + file;
}

OwnedModule LoadFrom(const std::wstring& path) {
    const NarrowSearch search;
    return OwnedModule(::LoadLibraryW(path.c_str()));
}

OwnedModule LoadBeside(const std::wstring& file) {
    return LoadFrom(Beside(file));
}

}  // namespace tools
