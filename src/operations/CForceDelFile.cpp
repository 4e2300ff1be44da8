#include "operations/CForceDelFile.h"

#include <string_view>

#include "foundation/log_statement.h"
#include "foundation/module.h"
#include "foundation/text.h"

namespace {

template <typename Function>
bool Bind(const wchar_t* caller, HMODULE module, const char* name, Function& slot, logging::LogFormat<DWORD> failed) {
    const FARPROC found = ::GetProcAddress(module, name);
    if (found == nullptr) {
        const DWORD error = ::GetLastError();
        LOG_AS(caller, kError, failed, error);
        return false;  // what was bound before stays
    }
    slot = EntryPointCast<Function>(found);
    return true;
}

bool IsObjectPath(std::wstring_view path) {
    constexpr std::wstring_view kDosDevices = L"\\DosDevices\\";
    return path.starts_with(L"\\??\\") || EqualsBlind(path.substr(0, kDosDevices.size()), kDosDevices);
}

}  // namespace

HMODULE CForceDelFile::s_ntdll = nullptr;
decltype(CForceDelFile::s_ntDeleteFile) CForceDelFile::s_ntDeleteFile = nullptr;
decltype(CForceDelFile::s_rtlDosPathNameToNtPathName) CForceDelFile::s_rtlDosPathNameToNtPathName = nullptr;
decltype(CForceDelFile::s_rtlCreateUnicodeString) CForceDelFile::s_rtlCreateUnicodeString = nullptr;
decltype(CForceDelFile::s_rtlFreeUnicodeString) CForceDelFile::s_rtlFreeUnicodeString = nullptr;

bool CForceDelFile::AllBound() {
    return s_ntDeleteFile != nullptr && s_rtlDosPathNameToNtPathName != nullptr &&
           s_rtlCreateUnicodeString != nullptr && s_rtlFreeUnicodeString != nullptr;
}

OperationResult CForceDelFile::Init() {
    if (s_ntdll != nullptr && !AllBound()) {
        return _ERROR_UNKNOWN;
    }
    // Loaded anew at every call and never released.
    s_ntdll = ::LoadLibraryW(L"ntdll.dll");
    if (s_ntdll == nullptr) {
        const DWORD error = ::GetLastError();
        LOG(kError, L"failed LoadLibrary 0x%x", error);
        return _ERROR_UNKNOWN;
    }
    const wchar_t* const caller = CALLER;
    const bool bound =
        Bind(caller, s_ntdll, "NtDeleteFile", s_ntDeleteFile, L"failed GetProcAddress NtDeleteFile 0x%x") &&
        Bind(caller, s_ntdll, "RtlDosPathNameToNtPathName_U", s_rtlDosPathNameToNtPathName,
             L"failed GetProcAddress RtlDosPathNameToNtPathName_U %x") &&
        Bind(caller, s_ntdll, "RtlCreateUnicodeString", s_rtlCreateUnicodeString,
             L"failed GetProcAddress RtlCreateUnicodeString 0x%x") &&
        Bind(caller, s_ntdll, "RtlFreeUnicodeString", s_rtlFreeUnicodeString,
             L"failed GetProcAddress RtlFreeUnicodeString 0x%x");
    return bound ? _ERROR_SUCCESS : _ERROR_UNKNOWN;
}

OperationResult CForceDelFile::Delete(const std::wstring& path) {
    UNICODE_STRING name = {};
    // A path that the system cannot convert is tried as it stands.
    if ((IsObjectPath(path) || !s_rtlDosPathNameToNtPathName(path.c_str(), &name, nullptr, nullptr)) &&
        !s_rtlCreateUnicodeString(&name, path.c_str())) {
        return _ERROR_UNKNOWN;
    }
    static_assert(sizeof(OBJECT_ATTRIBUTES) == 0x18);
    OBJECT_ATTRIBUTES attributes = {};
    attributes.Length = sizeof(attributes);
    attributes.ObjectName = &name;
    const NTSTATUS status = s_ntDeleteFile(&attributes);
    s_rtlFreeUnicodeString(&name);
    return status == 0 ? _ERROR_SUCCESS : _ERROR_FAILED;
}
