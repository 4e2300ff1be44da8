#pragma once

#include <windows.h>

#include <cstddef>

// Puts `replacement` into one slot of the table that all objects of a class share, for a scope.
class SlotPatch {
public:
    template <typename Function>
    SlotPatch(void* object, std::size_t slot, Function* replacement)
        : m_slot(*static_cast<void***>(object) + slot), m_original(*m_slot) {
        DWORD rights = 0;
        ::VirtualProtect(m_slot, sizeof *m_slot, PAGE_READWRITE, &rights);
        *m_slot = reinterpret_cast<void*>(replacement);
    }
    ~SlotPatch() { *m_slot = m_original; }
    SlotPatch(const SlotPatch&) = delete;
    SlotPatch& operator=(const SlotPatch&) = delete;

private:
    void** m_slot;
    void* m_original;
};
