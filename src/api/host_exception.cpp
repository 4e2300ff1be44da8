#include "api/host_exception.h"

#include <prodrm.h>

#include <new>
#include <stdexcept>

#include "foundation/com.h"

HRESULT CauseOfException() noexcept {
    try {
        throw;
    } catch (const ComError& error) {
        return error.Code();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::length_error&) {
        return E_OUTOFMEMORY;  // a container at its limit
    } catch (const std::range_error&) {
        return PRODRM_E_DOCUMENT;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

void RaiseToHost(HRESULT cause) {
    const ULONG_PTR arguments[] = {static_cast<ULONG_PTR>(cause)};
    for (;;) {  // the system takes no answer from a handler but to unwind
        ::RaiseException(PRODRM_EXCEPTION, EXCEPTION_NONCONTINUABLE, 1, arguments);
    }
}
