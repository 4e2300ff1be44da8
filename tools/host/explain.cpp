#include "explain.h"

#include <windows.h>

#include <algorithm>

#include "common/failure.h"
#include "explain_report.h"
#include "judgement.h"
#include "library.h"
#include "log_control.h"
#include "log_lines.h"

namespace tools::host {

namespace {

// An empty file of a new name in the folder for temporary files, deleted at the end of the scope.
class TempFile {
public:
    TempFile() {
        wchar_t folder[MAX_PATH + 1] = {};
        wchar_t path[MAX_PATH] = {};
        if (::GetTempPathW(MAX_PATH, folder) == 0 || ::GetTempFileNameW(folder, L"prm", 0, path) == 0) {
            throw Failure(ERROR_INSTALL_FAILURE, L"no temporary file can be made");
        }
        m_path = path;
    }
    ~TempFile() { ::DeleteFileW(m_path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::wstring& Path() const { return m_path; }

private:
    std::wstring m_path;
};

Explanation Explain(const Options& options, const std::wstring& logFile) {
    LogSettings settings = options.log;
    settings.file = logFile;
    settings.level = LOG_LEVEL_INFO;
    settings.mode = LOG_MODE_NEW;
    const LogControl log(settings);
    const Library library;
    Explanation explanation = {FindProduct(library.Products(options.catalogues), options.names.front()), {}};
    Product& product = explanation.product;
    const ULONG flag = product.type == UNINSTALL_TYPE_FAMILY ? PRODRM_FAMILY : PRODRM_FOREIGN;
    for (const Product& installed : library.InstalledProducts(flag)) {
        if (installed.name == product.name) {
            product.versions = installed.versions;
            break;
        }
    }
    auto judgement = ReadJudgement(ReadLogLines(logFile), product.name);
    if (!judgement) {
        throw Failure(ERROR_INSTALL_FAILURE, L"the log of this run does not tell about " + Quoted(product.name));
    }
    explanation.judgement = std::move(*judgement);
    return explanation;
}

}  // namespace

int RunExplain(const Options& options, Output& out) {
    const TempFile log;
    Explanation explanation = Explain(options, log.Path());
    AddScriptFacts(explanation.judgement);
    out.Write(options.json ? ExplanationJson(explanation) : ExplanationText(explanation));
    return ERROR_SUCCESS;
}

}  // namespace tools::host
