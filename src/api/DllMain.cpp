#include <windows.h>

#include "api/host_exception.h"
#include "foundation/CLogDLL.h"

// What the C++ runtime keeps for exceptions without memory. The runtime has the call and declares it nowhere.
namespace __gnu_cxx {
void __freeres();
}

// One reference on the logger for the life of the module: nothing else can bring the log module up.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        RaisingToHost([] { logging::CLogDLL::AddReference(); });
    } else if (reason == DLL_PROCESS_DETACH && processEnds != nullptr) {
        logging::CLogDLL::ReleaseAtProcessEnd();
    } else if (reason == DLL_PROCESS_DETACH) {
        logging::CLogDLL::Release();
        __gnu_cxx::__freeres();  // a host may load the library time and again; nothing throws after this
    }
    return TRUE;
}
