#include "lint.h"

#include "common/failure.h"
#include "embedded.h"
#include "files.h"
#include "script/vocabulary.h"

namespace tools::lint {

namespace {

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

private:
    void Folder(const std::wstring& folder) {
        for (const std::wstring& name : FilesBelow(folder)) {
            File(folder + L"\\" + name);
        }
    }

    void File(const std::wstring& path) {
        m_report.AddFile(path);
        Bytes bytes;
        try {
            bytes = ReadFileBytes(path);
            if (IsProgramFile(bytes)) {
                bytes = ReadEmbedded(path);
            }
        } catch (const Failure& failure) {
            m_report.AddAt(RuleId::NotReadable, path, {}, {failure.Message()});
            return;
        }
        const Document document(path, std::move(bytes));
        if (!document.IsWellFormed()) {
            m_report.AddAt(RuleId::NotWellFormed, path, document.Error().position, {document.Error().message});
        } else if (document.Top().name != element::kRoot) {
            m_report.Add(RuleId::NoRoot, document, document.Top(), {document.Top().name});
        }
    }

    Report& m_report;
};

}  // namespace

void CheckPaths(const std::vector<std::wstring>& paths, Report& report) {
    Check check(report);
    for (const std::wstring& path : paths) {
        check.Path(path);
    }
}

}  // namespace tools::lint
