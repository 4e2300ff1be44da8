#include <windows.h>

#include <exception>
#include <string>
#include <variant>
#include <vector>

#include "command_line.h"
#include "explain.h"
#include "failure.h"
#include "library.h"
#include "list.h"
#include "log_control.h"
#include "output.h"
#include "remove.h"
#include "text.h"

namespace host {

namespace {

int RunCommand(const Options& options, Output& out) {
    if (options.command == Command::Explain) {
        return RunExplain(options, out);
    }
    const LogControl log(options.log);
    const Library library;
    return options.command == Command::List ? RunList(options, library, out) : RunRemove(options, library, out);
}

int Run(const std::vector<std::wstring>& arguments) {
    Output out(STD_OUTPUT_HANDLE);
    Output err(STD_ERROR_HANDLE);
    try {
        const auto parsed = ParseCommandLine(arguments);
        if (const auto* ending = std::get_if<Ending>(&parsed)) {
            (ending->code == ERROR_SUCCESS ? out : err).Write(ending->text);
            return ending->code;
        }
        const int code = RunCommand(std::get<Options>(parsed), out);
        // Whoever reads the output must not take a part for the whole.
        return code == ERROR_SUCCESS && out.Failed() ? ERROR_INSTALL_FAILURE : code;
    } catch (const Failure& failure) {
        err.WriteLine(L"prodrm: " + Printable(failure.Message()));
        return failure.Code();
    } catch (const std::exception& error) {
        err.WriteLine(L"prodrm: " + FromUtf8(error.what()));
        return ERROR_INSTALL_FAILURE;
    }
}

// The library ends in an access violation on some malformed catalogues. A deployment gets an exit code all the same,
// and no dialog that waits for somebody.
LONG WINAPI EndOnCrash(EXCEPTION_POINTERS* exception) {
    wchar_t text[100] = {};
    ::wsprintfW(text, L"prodrm: broken off by exception 0x%08x; a catalogue may be malformed",
                static_cast<unsigned>(exception->ExceptionRecord->ExceptionCode));
    Output(STD_ERROR_HANDLE).WriteLine(text);
    ::TerminateProcess(::GetCurrentProcess(), ERROR_INSTALL_FAILURE);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

}  // namespace host

int wmain(int argc, wchar_t* argv[]) {
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    ::SetUnhandledExceptionFilter(host::EndOnCrash);
    ::SetDllDirectoryW(L"");  // nothing is loaded from the current folder
    return host::Run({argv + 1, argv + argc});
}
