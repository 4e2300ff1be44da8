#include <windows.h>

#include "foundation/CLogDLL.h"

// One reference on the logger for the life of the module: nothing else can bring the log module up.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        logging::CLogDLL::AddReference();
    } else if (reason == DLL_PROCESS_DETACH) {
        logging::CLogDLL::Release();
    }
    return TRUE;
}
