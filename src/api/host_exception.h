#pragma once

#include <windows.h>

// The way out of the library for its exceptions. Nothing beyond an export can unwind a C++ exception: it would end the
// process without a word. So the export unwinds it, which runs every destructor, and raises a system exception in its
// place, which a host can handle, and which ends a host that does not as every unhandled exception does.

// What the exception that is being handled is about. Called from a handler.
HRESULT CauseOfException() noexcept;

// Raises PRODRM_EXCEPTION with the cause.
[[noreturn]] void RaiseToHost(HRESULT cause);

// The body of an export.
template <typename Body>
auto RaisingToHost(const Body& body) {
    HRESULT cause = S_OK;
    try {
        return body();
    } catch (...) {
        cause = CauseOfException();
    }
    // Here the C++ exception is over and its memory given back.
    RaiseToHost(cause);
}
