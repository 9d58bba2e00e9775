// The load notification. Kept to one store: the loader's lock is held.
#include "engine/library_instance.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) ModuleInstance = module;
    return TRUE;
}
