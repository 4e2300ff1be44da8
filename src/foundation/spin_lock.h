#pragma once

#include <windows.h>

#include <atomic>

// Guards the creation of process-wide objects: held for a few instructions, waited for with Sleep(1).
class SpinLock {
public:
    explicit SpinLock(std::atomic<long>& word) : m_word(word) {
        while (m_word.exchange(1) != 0) {
            ::Sleep(1);
        }
    }
    ~SpinLock() { m_word.store(0, std::memory_order_release); }

    SpinLock(const SpinLock&) = delete;
    SpinLock& operator=(const SpinLock&) = delete;

private:
    std::atomic<long>& m_word;
};
