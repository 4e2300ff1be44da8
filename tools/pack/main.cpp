// prodrm-pack: embeds a document into a library file.

#include <windows.h>

#include <string>
#include <vector>

#include "author/lint/lint.h"
#include "common/com_scope.h"
#include "common/exit_codes.h"
#include "common/failure.h"
#include "common/output.h"
#include "common/program.h"
#include "document.h"
#include "library.h"

namespace tools::pack {

namespace {

constexpr wchar_t kUsage[] =
    L"usage: prodrm-pack [--force] DOCUMENT.xml LIBRARY.dll\n"
    L"       prodrm-pack --help | --version\n";

constexpr wchar_t kHelp[] =
    L"\n"
    L"Checks that DOCUMENT.xml is well-formed XML in UTF-8, enciphers it and stores it\n"
    L"in LIBRARY.dll, in place, as the document that removals follow (resource XMLBIN,\n"
    L"id 101). Packer and library must come from one build: they share the key.\n"
    L"The document is checked as prodrm-author lint checks it. One with errors is refused\n"
    L"unless --force is given.\n"
    L"After every exit code but 0 the library is as it was.\n"
    L"\n";

constexpr wchar_t kVersion[] = L"prodrm-pack " PRODRM_VERSION L"\n";

// Tells what the check of the document finds. Throws Failure for errors that are not forced.
void CheckRules(const std::wstring& file, const Bytes& document, bool force) {
    lint::Report report;
    lint::CheckRemoval(file, {document.begin(), document.end() - 1}, report);
    Output err(STD_ERROR_HANDLE);
    for (const lint::Finding& finding : report.Findings()) {
        err.Write(lint::AsLine(finding));
    }
    if (report.Count(lint::Severity::Error) > 0 && !force) {
        throw Failure(ERROR_INSTALL_FAILURE,
                      L"the document \"" + file + L"\" has errors; --force packs it all the same");
    }
}

int Run(const std::vector<std::wstring>& arguments, Output& out) {
    if (arguments.size() == 1 && arguments[0] == L"--help") {
        out.Write(kUsage);
        out.Write(kHelp);
        out.Write(ExitCodesHelp({ERROR_SUCCESS, ERROR_INSTALL_FAILURE, ERROR_INVALID_COMMAND_LINE}));
        return ERROR_SUCCESS;
    }
    if (arguments.size() == 1 && arguments[0] == L"--version") {
        out.Write(kVersion);
        return ERROR_SUCCESS;
    }
    const bool force = !arguments.empty() && arguments[0] == L"--force";
    const std::vector<std::wstring> files(arguments.begin() + (force ? 1 : 0), arguments.end());
    if (files.size() != 2 || files[0].empty() || files[1].empty()) {
        Output(STD_ERROR_HANDLE).Write(kUsage);
        return ERROR_INVALID_COMMAND_LINE;
    }
    const ComScope com;
    const Bytes document = ReadDocument(files[0]);
    CheckRules(files[0], document, force);
    EmbedDocument(document, files[1]);
    return ERROR_SUCCESS;
}

}  // namespace

}  // namespace tools::pack

int wmain(int count, wchar_t** arguments) {
    return tools::RunTool("prodrm-pack", count, arguments, &tools::pack::Run);
}
