#include "foundation/result.h"

const wchar_t* ResultName(OperationResult result) {
    switch (result) {
        case _ERROR_SUCCESS:
            return L"_ERROR_SUCCESS";
        case _ERROR_NOT_FOUND:
            return L"_ERROR_NOT_FOUND";
        case _ERROR_FAILED:
            return L"_ERROR_FAILED";
        case _ERROR_UNKNOWN:
            return L"_ERROR_UNKNOWN";
    }
    return L"ERROR_UNDEF";
}
