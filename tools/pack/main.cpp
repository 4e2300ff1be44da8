// prodrm-pack: embeds a document into a library file.

#include <windows.h>
#include <objbase.h>

#include <string>

#include "document.h"
#include "failure.h"
#include "library.h"

namespace {

constexpr wchar_t kUsage[] =
    L"usage: prodrm-pack DOCUMENT.xml LIBRARY.dll\n"
    L"       prodrm-pack --help | --version\n";

constexpr wchar_t kHelp[] =
    L"\n"
    L"Checks that DOCUMENT.xml is well-formed XML in UTF-8, enciphers it and stores it\n"
    L"in LIBRARY.dll, in place, as the document that removals follow (resource XMLBIN,\n"
    L"id 101). Packer and library must come from one build: they share the key.\n"
    L"\n"
    L"exit code:\n"
    L"  0  the library holds the document\n"
    L"  1  the document cannot be used\n"
    L"  2  wrong arguments\n"
    L"  3  the library cannot be written\n"
    L"After every code but 0 the library is as it was.\n";

constexpr wchar_t kVersion[] = L"prodrm-pack " PRODRM_VERSION L"\n";

// To a console as it is, to a file or pipe as UTF-8.
void Print(DWORD stream, const std::wstring& text) {
    const HANDLE out = ::GetStdHandle(stream);
    DWORD done = 0;
    DWORD mode = 0;
    const int length = static_cast<int>(text.size());
    if (::GetConsoleMode(out, &mode)) {
        ::WriteConsoleW(out, text.data(), static_cast<DWORD>(length), &done, nullptr);
        return;
    }
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    ::WriteFile(out, bytes.data(), static_cast<DWORD>(size), &done, nullptr);
}

struct ComScope {
    ComScope() { ::CoInitialize(nullptr); }
    ~ComScope() { ::CoUninitialize(); }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
};

int Pack(const std::wstring& document, const std::wstring& library) {
    const ComScope com;
    try {
        EmbedDocument(ReadDocument(document), library);
        return kPacked;
    } catch (const Failure& failure) {
        Print(STD_ERROR_HANDLE, L"prodrm-pack: " + failure.text + L"\n");
        return failure.exitCode;
    } catch (...) {  // of containers and COM, which raise nothing but a failed allocation
        Print(STD_ERROR_HANDLE, L"prodrm-pack: not enough memory for \"" + document + L"\"\n");
        return kBadDocument;
    }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    const std::wstring first = count > 1 ? arguments[1] : L"";
    if (count == 2 && first == L"--help") {
        Print(STD_OUTPUT_HANDLE, std::wstring(kUsage) + kHelp);
        return kPacked;
    }
    if (count == 2 && first == L"--version") {
        Print(STD_OUTPUT_HANDLE, kVersion);
        return kPacked;
    }
    if (count != 3 || first.empty() || *arguments[2] == L'\0') {
        Print(STD_ERROR_HANDLE, kUsage);
        return kBadUsage;
    }
    return Pack(first, arguments[2]);
}
