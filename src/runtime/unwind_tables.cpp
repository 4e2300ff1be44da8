#include <windows.h>

// The first file that a DLL is linked from. Where the host has libgcc_s_dw2-1.dll loaded, the compiler's start-up code
// registers a DLL's unwind tables there. The unwinder in use is the one that is linked into the DLL: without its
// tables, the first exception would end the host by abort(), also one that the DLL means to catch itself. So they are
// registered here.

extern "C" {

// Begins what this file adds to the section of the tables, before all that can throw; the compiler's last file ends it.
extern const char g_unwindTables[];
asm(".section .eh_frame, \"dr\"\n"
    ".balign 4\n"
    ".globl _g_unwindTables\n"
    "_g_unwindTables:\n"
    ".text\n");

// Of libgcc, which declares them in no header.
void __register_frame_info(const void* tables, void* object);
void* __deregister_frame_info(const void* tables);
}

namespace {

class Registration {
public:
    Registration() {
        if (::GetModuleHandleW(L"libgcc_s_dw2-1.dll") != nullptr) {
            __register_frame_info(g_unwindTables, m_object);
            m_isDone = true;
        }
    }
    ~Registration() {
        if (m_isDone) {
            (void)__deregister_frame_info(g_unwindTables);
        }
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    void* m_object[16] = {};  // libgcc's own record, of at most eight
    bool m_isDone = false;
};

Registration g_registration;

}  // namespace
