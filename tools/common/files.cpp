#include "common/files.h"

#include <cstddef>

#include "common/failure.h"
#include "foundation/owned.h"

namespace tools {

namespace {

constexpr LONGLONG kMostBytes = 64 << 20;

}  // namespace

std::vector<BYTE> ReadWholeFile(const std::wstring& what, const std::wstring& file, DWORD access) {
    const std::wstring step = ((access & GENERIC_WRITE) != 0 ? L"cannot write to the " : L"cannot read the ") + what;
    const OwnedFileHandle handle(
        ::CreateFileW(file.c_str(), access, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size = {};
    if (!handle || !::GetFileSizeEx(handle.Get(), &size)) {
        throw SystemFailure(step, file);
    }
    if (size.QuadPart > kMostBytes) {
        throw Failure(ERROR_INSTALL_FAILURE,
                      L"cannot use the " + what + L" \"" + file + L"\": it is larger than 64 MB");
    }
    std::vector<BYTE> bytes(static_cast<std::size_t>(size.QuadPart));
    DWORD count = 0;
    if (!::ReadFile(handle.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) {
        throw SystemFailure(step, file);
    }
    if (count != bytes.size()) {
        throw SystemFailure(step, file, ERROR_HANDLE_EOF);
    }
    return bytes;
}

}  // namespace tools
