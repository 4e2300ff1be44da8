#include "common/failure.h"

#include <iterator>

namespace tools {

Failure SystemFailure(const std::wstring& step, const std::wstring& file, DWORD error) {
    std::wstring text = step + L" \"" + file + L"\": ";
    wchar_t message[512];
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                    message, static_cast<DWORD>(std::size(message)), nullptr);
    while (length > 0 && (message[length - 1] <= L' ' || message[length - 1] == L'.')) {
        --length;
    }
    if (length > 0) {
        text.append(message, length).append(L" ");
    }
    return {ERROR_INSTALL_FAILURE, text + L"(" + std::to_wstring(error) + L")"};
}

}  // namespace tools
