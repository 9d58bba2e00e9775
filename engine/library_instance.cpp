#include "engine/library_instance.h"

HINSTANCE ModuleInstance = nullptr;
char IniPath[260] = "ZORMIDI.INI";

void PinModule() {
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCSTR>(&ModuleInstance), &module);
}
