#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <windows.h>
#include <doctest/doctest.h>

namespace {

LONG WINAPI EndQuietly(EXCEPTION_POINTERS*) {
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

// Run by NullReadCode.
TEST_CASE("child: read through null" * doctest::skip()) {
    ::SetUnhandledExceptionFilter(&EndQuietly);
    const volatile int* volatile nowhere = nullptr;
    ::ExitProcess(static_cast<UINT>(*nowhere));
}
