#include "document.h"

#include <windows.h>

#include "common/com_scope.h"
#include "common/modules.h"
#include "pack/document.h"
#include "pack/library.h"
#include "private_folder.h"

namespace tools::host {

namespace {

constexpr const wchar_t* kBesideLibrary[] = {L"prodrm.dll", L"products.xml", L"detection.xml", L"intern", L"extern"};

}  // namespace

DocumentLibrary::DocumentLibrary(const std::wstring& document) {
    const ComScope com;
    const pack::Bytes bytes = pack::ReadDocument(document);
    ClearForsakenFolders();
    m_folder = MakePrivateFolder(m_inUse);
    try {
        for (const wchar_t* name : kBesideLibrary) {
            CopyTree(OwnFolder() + L"\\" + name, m_folder + L"\\" + name);
        }
        ::SetFileAttributesW((m_folder + L"\\prodrm.dll").c_str(), FILE_ATTRIBUTE_NORMAL);
        pack::EmbedDocument(bytes, m_folder + L"\\prodrm.dll");
    } catch (...) {
        RemoveFolder(m_folder);
        throw;
    }
}

DocumentLibrary::~DocumentLibrary() {
    RemoveFolder(m_folder);
}

PlannedLibrary::PlannedLibrary(const Options& options) {
    if (!options.document.empty()) {
        m_own.emplace(options.document);
    }
    m_library.emplace(m_own ? m_own->Folder() : OwnFolder());
}

}  // namespace tools::host
