#include "engine/module.h"

HINSTANCE ModuleInstance = nullptr;
char IniPath[260] = "ZORMIDI.INI";
