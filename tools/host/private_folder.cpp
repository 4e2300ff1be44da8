#include "private_folder.h"

#include <windows.h>
#include <aclapi.h>
#include <objbase.h>
#include <sddl.h>

#include <algorithm>
#include <cwchar>
#include <functional>
#include <memory>
#include <vector>

#include "common/failure.h"

namespace tools::host {

namespace {

constexpr wchar_t kPrefix[] = L"prodrm-";

struct LocalDeleter {
    void operator()(void* memory) const { ::LocalFree(memory); }
};
template <typename Type>
using LocalPtr = std::unique_ptr<Type, LocalDeleter>;

std::wstring TemporaryFolder() {
    wchar_t path[MAX_PATH + 1] = {};
    const DWORD length = ::GetTempPathW(MAX_PATH + 1, path);
    if (length == 0 || length > MAX_PATH) {
        throw SystemFailure(L"no folder for temporary files", L"%TEMP%");
    }
    return path;
}

// What the token of this process says of `subject`.
std::vector<BYTE> OfToken(TOKEN_INFORMATION_CLASS subject) {
    OwnedHandle token;
    DWORD size = 0;
    std::vector<BYTE> information;
    if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Put())) {
        ::GetTokenInformation(token.Get(), subject, nullptr, 0, &size);
        information.resize(size);
    }
    if (information.empty() || !::GetTokenInformation(token.Get(), subject, information.data(), size, &size)) {
        throw SystemFailure(L"cannot tell", L"the account of this run");
    }
    return information;
}

// Full access for the caller's account, none for anybody else, inherited by all that is made inside.
LocalPtr<void> OwnAccessOnly() {
    const std::vector<BYTE> user = OfToken(TokenUser);
    wchar_t* sid = nullptr;
    if (!::ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid, &sid)) {
        throw SystemFailure(L"cannot tell", L"the account of this run");
    }
    const LocalPtr<wchar_t> text(sid);
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(
            (std::wstring(L"D:P(A;OICI;FA;;;") + text.get() + L")").c_str(), SDDL_REVISION_1, &descriptor, nullptr)) {
        throw SystemFailure(L"cannot make the protection of", L"a private folder");
    }
    return LocalPtr<void>(descriptor);
}

std::wstring NewName() {
    GUID id = {};
    wchar_t text[40] = {};
    if (FAILED(::CoCreateGuid(&id)) || ::StringFromGUID2(id, text, static_cast<int>(std::size(text))) == 0) {
        throw Failure(ERROR_INSTALL_FAILURE, L"a name for a private folder cannot be made");
    }
    return std::wstring(kPrefix) + text;
}

void ForEachEntry(const std::wstring& pattern, const std::function<void(const WIN32_FIND_DATAW&)>& act) {
    WIN32_FIND_DATAW entry;
    const OwnedFindHandle find(::FindFirstFileW(pattern.c_str(), &entry));
    for (BOOL found = find ? TRUE : FALSE; found; found = ::FindNextFileW(find.Get(), &entry)) {
        if (std::wcscmp(entry.cFileName, L".") != 0 && std::wcscmp(entry.cFileName, L"..") != 0) {
            act(entry);
        }
    }
}

// Somebody else's folder of such a name is not touched: what is in it could lead anywhere.
bool IsOwn(const std::wstring& folder) {
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    std::wstring path = folder;
    if (::GetNamedSecurityInfoW(path.data(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr,
                                nullptr, &descriptor) != ERROR_SUCCESS) {
        return false;
    }
    const LocalPtr<void> release(descriptor);
    const std::vector<BYTE> user = OfToken(TokenUser);
    const std::vector<BYTE> standard = OfToken(TokenOwner);  // what this run makes may belong to its group
    return ::EqualSid(owner, reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid) ||
           ::EqualSid(owner, reinterpret_cast<const TOKEN_OWNER*>(standard.data())->Owner);
}

bool IsInUse(const std::wstring& name) {
    return static_cast<bool>(OwnedHandle(::OpenMutexW(SYNCHRONIZE, FALSE, (L"Global\\" + name).c_str())));
}

}  // namespace

std::wstring MakePrivateFolder(OwnedHandle& inUse) {
    const std::wstring name = NewName();
    inUse.Reset(::CreateMutexW(nullptr, FALSE, (L"Global\\" + name).c_str()));
    if (!inUse) {
        throw SystemFailure(L"cannot create the mutex of", name);
    }
    const LocalPtr<void> access = OwnAccessOnly();
    SECURITY_ATTRIBUTES security = {sizeof(security), access.get(), FALSE};
    const std::wstring folder = TemporaryFolder() + name;
    if (!::CreateDirectoryW(folder.c_str(), &security)) {
        throw SystemFailure(L"cannot create the private folder", folder);
    }
    return folder;
}

void ClearForsakenFolders() {
    const std::wstring temporary = TemporaryFolder();
    ForEachEntry(temporary + kPrefix + L"{*}", [&](const WIN32_FIND_DATAW& entry) {
        const DWORD kind = entry.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
        if (kind == FILE_ATTRIBUTE_DIRECTORY && !IsInUse(entry.cFileName) && IsOwn(temporary + entry.cFileName)) {
            RemoveFolder(temporary + entry.cFileName);
        }
    });
}

void RemoveFolder(const std::wstring& folder) {
    ForEachEntry(folder + L"\\*", [&](const WIN32_FIND_DATAW& entry) {
        const std::wstring path = folder + L"\\" + entry.cFileName;
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        if (isFolder && !isLink) {
            RemoveFolder(path);
        } else if (isFolder) {
            ::RemoveDirectoryW(path.c_str());
        } else {
            ::DeleteFileW(path.c_str());
        }
    });
    ::RemoveDirectoryW(folder.c_str());
}

void CopyTree(const std::wstring& from, const std::wstring& to) {
    const DWORD attributes = ::GetFileAttributesW(from.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        if (!::CopyFileW(from.c_str(), to.c_str(), TRUE)) {
            throw SystemFailure(L"cannot copy " + from + L" to", to);
        }
        return;
    }
    if (!::CreateDirectoryW(to.c_str(), nullptr)) {
        throw SystemFailure(L"cannot create the folder", to);
    }
    ForEachEntry(from + L"\\*", [&](const WIN32_FIND_DATAW& entry) {
        CopyTree(from + L"\\" + entry.cFileName, to + L"\\" + entry.cFileName);
    });
}

}  // namespace tools::host
