#include "common/program.h"

#include <windows.h>

#include <prodrm.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <stdexcept>

#include "common/failure.h"
#include "common/text.h"
#include "common/utf8.h"
#include "foundation/com.h"

namespace tools {

namespace {

const char* g_name = "";

constexpr char kNoMemory[] = "not enough memory";
constexpr char kNoDocument[] = "the embedded document cannot be deciphered";

// Needs no memory: there may be none left.
int Tell(const char* text) {
    char line[200];
    const int length = std::snprintf(line, sizeof line, "%s: %s\r\n", g_name, text);
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), line, static_cast<DWORD>(std::clamp<int>(length, 0, sizeof line - 1)),
                &written, nullptr);
    return ERROR_INSTALL_FAILURE;
}

[[noreturn]] void EndNow(const char* text) {
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(Tell(text)));
    ::ExitProcess(ERROR_INSTALL_FAILURE);
}

// The library raises an exception of its own for what it cannot go on from, and ends in an access violation on some
// malformed catalogues.
LONG WINAPI EndOnCrash(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == PRODRM_EXCEPTION && record.NumberParameters == 1) {
        const HRESULT cause = static_cast<HRESULT>(record.ExceptionInformation[0]);
        if (cause == E_OUTOFMEMORY || cause == PRODRM_E_DOCUMENT) {
            EndNow(cause == E_OUTOFMEMORY ? kNoMemory : kNoDocument);
        }
    }
    char text[100];
    std::snprintf(text, sizeof text, "broken off by exception 0x%08lx; a file that was read may be malformed",
                  record.ExceptionCode);
    EndNow(text);
}

// Where a C++ exception finds no handler, in the library too: it shares the system's runtime with this program.
void EndOnAbort(int) {
    EndNow("broken off; there may not be enough memory");
}

void Prepare(const char* name) {
    g_name = name;
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    ::SetUnhandledExceptionFilter(&EndOnCrash);
    std::signal(SIGABRT, &EndOnAbort);
    ::SetDllDirectoryW(L"");  // nothing is loaded from the current folder
}

int RunGuarded(ToolBody body, wchar_t** first, wchar_t** last, Output& out) {
    try {
        return body({first, last}, out);
    } catch (const Failure& failure) {
        Output(STD_ERROR_HANDLE).WriteLine(FromUtf8(g_name) + L": " + Printable(failure.Message()));
        return failure.Code();
    } catch (const std::bad_alloc&) {
        return Tell(kNoMemory);
    } catch (const ComError&) {  // raised for a failed allocation alone
        return Tell(kNoMemory);
    } catch (const std::range_error&) {  // of the conversion of what the wrong key made of the document
        return Tell(kNoDocument);
    } catch (const std::exception& error) {
        return Tell(error.what());
    }
}

}  // namespace

int RunTool(const char* name, int count, wchar_t** arguments, ToolBody body) {
    Prepare(name);
    Output out(STD_OUTPUT_HANDLE);
    const int code = RunGuarded(body, arguments + 1, arguments + count, out);
    if (code != ERROR_SUCCESS || !out.Failed()) {
        return code;
    }
    // Whoever reads the output must not take a part for the whole.
    return Tell("the output could not be written in full");
}

}  // namespace tools
