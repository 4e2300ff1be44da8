#pragma once

#include <windows.h>
#include <objbase.h>

// The COM rule of the exports that load a catalogue: CoInitialize once, and CoUninitialize as the very last act only if
// the result was exactly S_OK. S_FALSE, also an initialisation, is left unbalanced, and no result is a failure.
class ComRule {
public:
    ComRule() : m_first(::CoInitialize(nullptr) == S_OK) {}
    ~ComRule() {
        if (m_first) {
            ::CoUninitialize();
        }
    }
    ComRule(const ComRule&) = delete;
    ComRule& operator=(const ComRule&) = delete;

private:
    bool m_first;
};
