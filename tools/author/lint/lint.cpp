#include "lint.h"

#include "common/failure.h"
#include "common/files.h"
#include "embedded.h"
#include "files.h"
#include "rules_folder.h"
#include "script.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

// Files and folders in the order in which they were named, each read and checked by itself.
enum class Kind { FamilyCatalogue, ForeignCatalogue, Detection, Removal };

bool HoldsProducts(const Node& top) {
    return top.Child(L"product") != nullptr || top.Child(L"exec_all") != nullptr;
}

// By the place of a file, then by what it holds.
Kind KindOf(const std::wstring& path, const Document& document) {
    const std::wstring name = FileName(path);
    const std::wstring folder = FileName(FolderOf(path));
    if (EqualsBlind(name, L"products.xml")) {
        return Kind::FamilyCatalogue;
    }
    if (EqualsBlind(name, L"detection.xml")) {
        return Kind::ForeignCatalogue;
    }
    if (EqualsBlind(folder, L"intern") || EqualsBlind(folder, L"extern")) {
        return Kind::Detection;
    }
    return HoldsProducts(document.Top()) ? Kind::ForeignCatalogue : Kind::Removal;
}

// Files and folders in the order in which they were named, each read and checked by itself.
class Check {
public:
    explicit Check(Report& report) : m_report(report) {}

    void Path(const std::wstring& path) {
        if (IsFolder(path)) {
            Folder(path);
        } else {
            File(path);
        }
    }

    // What is to be said about the documents of a product folder, at the end. Documents that were named beside a single
    // folder belong to it.
    void Together() {
        if (m_suites.size() == 2) {
            m_suites[1].Add(m_suites[0]);
        }
        for (std::size_t index = 1; index < m_suites.size(); ++index) {
            CheckSuite(m_suites[index], m_report);
        }
    }

    void Content(const std::wstring& path, Bytes bytes, std::optional<Kind> kind = {}) {
        const Document& document = m_documents.emplace_back(path, std::move(bytes));
        if (!document.IsWellFormed()) {
            m_report.AddAt(RuleId::NotWellFormed, path, document.Error().position, {document.Error().message});
        } else if (document.Top().name != element::kRoot) {
            m_report.Add(RuleId::NoRoot, document, document.Top(), {document.Top().name});
        } else {
            Known(document, kind ? *kind : KindOf(path, document));
        }
    }

private:
    void Folder(const std::wstring& folder) {
        m_current = m_suites.size();
        m_suites.emplace_back().folder = folder;
        for (const std::wstring& name : FilesBelow(folder)) {
            File(folder + L"\\" + name);
        }
        m_current = 0;
    }

    void File(const std::wstring& path) {
        m_report.AddFile(path);
        Bytes bytes;
        try {
            bytes = ReadWholeFile(L"the file", path);
            if (IsProgramFile(bytes)) {
                bytes = ReadEmbedded(path);
            }
        } catch (const Failure& failure) {
            m_report.AddAt(RuleId::NotReadable, path, {}, {failure.Message()});
            return;
        }
        Content(path, std::move(bytes));
    }

    void Known(const Document& document, Kind kind) {
        if (kind == Kind::FamilyCatalogue || kind == Kind::ForeignCatalogue) {
            const CatalogueKind which = kind == Kind::FamilyCatalogue ? CatalogueKind::Family : CatalogueKind::Foreign;
            CheckCatalogue(document, which, m_report);
            m_suites[m_current].catalogues.push_back({&document, which});
        } else {
            const Role role = kind == Kind::Detection ? Role::Detection : Role::Removal;
            const Script& script = m_scripts.emplace_back(document, role);
            CheckScript(script, m_report);
            Suite& suite = m_suites[m_current];
            (role == Role::Detection ? suite.scripts : suite.removals).push_back(&script);
        }
    }

    Report& m_report;
    std::deque<Document> m_documents;
    std::deque<Script> m_scripts;
    std::vector<Suite> m_suites{1};  // the first takes what lies in no named folder
    std::size_t m_current = 0;
};

}  // namespace

void CheckRemoval(const std::wstring& name, Bytes document, Report& report) {
    report.AddFile(name);
    Check(report).Content(name, std::move(document), Kind::Removal);
}

void CheckPaths(const std::vector<std::wstring>& paths, Report& report) {
    Check check(report);
    for (const std::wstring& path : paths) {
        check.Path(path);
    }
    check.Together();
}

}  // namespace tools::lint
