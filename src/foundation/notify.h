#pragma once

#include <prodrm.h>

// Calls the host back, unless it gave no callback.
inline void Notify(NotifyCallback notify, LONG event, LONG result, LONG_PTR value = 0) {
    if (notify != nullptr) {
        notify(event, result, value);
    }
}
