#pragma once

#include <windows.h>

#include <prodrm.h>

#include <functional>

#include "support/show_text.h"

// What the callback heard since Clear, as "event/result" with the name of a product that begins or another value, and
// the progress value at each of these moments.
struct Notifications {
    static inline Lines events;
    static inline std::wstring progress;
    static inline LONG(__cdecl* readProgress)() = nullptr;
    static inline std::function<void(const std::wstring&)> then;  // what the test does besides

    static void Clear(LONG(__cdecl* read)() = readProgress) {
        events.clear();
        progress.clear();
        readProgress = read;
        then = nullptr;
    }

    static std::wstring Heard() { return Joined(events, L", "); }

    static void __cdecl Hear(LONG event, LONG result, LONG_PTR value) {
        std::wstring text = std::to_wstring(event) + L'/' + std::to_wstring(result);
        if (event == OPERATION_PRODUCT_BEGINS) {
            text += std::wstring(L" ") + reinterpret_cast<const wchar_t*>(value);
        } else if (value != 0) {
            text += L' ' + std::to_wstring(value);
        }
        progress += (progress.empty() ? L"" : L" ") + std::to_wstring(readProgress != nullptr ? readProgress() : 0);
        events.push_back(text);
        if (then) {
            then(text);
        }
    }
};
