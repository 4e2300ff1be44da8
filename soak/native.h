#pragma once

#include <windows.h>
#include <winternl.h>

// Native calls that the headers lack. They show what the Win32 calls hide: change times, real key names, names that end
// in a dot.
extern "C" {
NTSYSAPI NTSTATUS NTAPI NtQueryDirectoryFile(HANDLE folder, HANDLE event, PIO_APC_ROUTINE routine, PVOID context,
                                             PIO_STATUS_BLOCK status, PVOID buffer, ULONG bytes,
                                             FILE_INFORMATION_CLASS information, BOOLEAN single, PUNICODE_STRING mask,
                                             BOOLEAN restart);
NTSYSAPI NTSTATUS NTAPI NtOpenKeyEx(PHANDLE key, ACCESS_MASK access, POBJECT_ATTRIBUTES attributes, ULONG options);
NTSYSAPI NTSTATUS NTAPI NtEnumerateKey(HANDLE key, ULONG index, ULONG information, PVOID buffer, ULONG bytes,
                                       PULONG needed);
NTSYSAPI NTSTATUS NTAPI NtEnumerateValueKey(HANDLE key, ULONG index, ULONG information, PVOID buffer, ULONG bytes,
                                            PULONG needed);
NTSYSAPI NTSTATUS NTAPI NtDeleteKey(HANDLE key);
NTSYSAPI NTSTATUS NTAPI NtQueryKey(HANDLE key, ULONG information, PVOID buffer, ULONG bytes, PULONG needed);
}

namespace native {

constexpr ULONG kKeyFull = 2;
constexpr ULONG kKeyName = 3;
constexpr ULONG kValueFull = 1;
constexpr ULONG kOpenLink = 8;

struct KeyBasic {
    LARGE_INTEGER written;
    ULONG titleIndex;
    ULONG nameBytes;
    wchar_t name[1];
};

struct KeyFull {
    LARGE_INTEGER written;
    ULONG titleIndex;
    ULONG classOffset;
    ULONG classBytes;
    ULONG subkeys;
    ULONG longestName;
    ULONG longestClass;
    ULONG values;
};

struct KeyName {
    ULONG nameBytes;
    wchar_t name[1];
};

struct ValueFull {
    ULONG titleIndex;
    ULONG type;
    ULONG dataOffset;
    ULONG dataBytes;
    ULONG nameBytes;
    wchar_t name[1];
};

}  // namespace native
