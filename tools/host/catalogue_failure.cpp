#include "catalogue_failure.h"

#include <windows.h>

#include <string_view>

#include "author/lint/reader.h"
#include "catalogue/CProducts.h"
#include "common/com_scope.h"
#include "foundation/log_statement.h"
#include "foundation/owned.h"
#include "preview/log_ear.h"

namespace tools::host {

namespace {

// What the library's own loading says first, but for each attribute that it misses.
std::wstring RefusalOf(const std::wstring& file, UninstallType type) {
    std::wstring refusal;
    const preview::LogEar ear(kError, [&](const preview::HeardLine& line) {
        if (refusal.empty() && !std::wstring_view(line.function).starts_with(L"CXMLHelper::")) {
            refusal = line.text;
        }
    });
    CProducts().Load(file, type, nullptr);
    return refusal;
}

}  // namespace

std::wstring CatalogueTrouble(const std::wstring& file, UninstallType type) {
    const OwnedFileHandle opened(
        ::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!opened) {
        const DWORD error = ::GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND
                   ? L"it is not there"
                   : L"it cannot be opened (error " + std::to_wstring(error) + L")";
    }
    lint::Bytes bytes(::GetFileSize(opened.Get(), nullptr));
    DWORD read = 0;
    if (!::ReadFile(opened.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr)) {
        return L"it cannot be read (error " + std::to_wstring(::GetLastError()) + L")";
    }
    const ComScope com;
    const lint::Parsed parsed = lint::Parse(bytes);
    if (!parsed.wellFormed) {
        return L"it is not well-formed XML (line " + std::to_wstring(parsed.error.position.line) + L", column " +
               std::to_wstring(parsed.error.position.column) + L": " + parsed.error.message + L")";
    }
    return L"it is refused: " + RefusalOf(file, type);
}

}  // namespace tools::host
