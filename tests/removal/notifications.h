#pragma once

#include <windows.h>

#include <prodrm.h>

#include <functional>

#include "support/script_builder.h"

// What the callback heard since Clear, as "event/result", the begin of a product with its name, and the progress value
// at each of these moments.
struct Notifications {
    static inline Lines events;
    static inline std::vector<LONG> progress;
    static inline LONG(__cdecl* readProgress)() = nullptr;
    static inline std::function<void(const std::wstring&)> then;  // what the test does besides

    static void Clear() {
        events.clear();
        progress.clear();
        then = nullptr;
    }

    static void __cdecl Hear(LONG event, LONG result, LONG_PTR value) {
        std::wstring text = std::to_wstring(event) + L'/' + std::to_wstring(result);
        if (event == OPERATION_PRODUCT_BEGINS) {
            text += L' ';
            text += reinterpret_cast<const wchar_t*>(value);
        } else if (value != 0) {
            text += L' ' + std::to_wstring(value);
        }
        progress.push_back(readProgress());
        events.push_back(text);
        if (then) {
            then(text);
        }
    }
};
