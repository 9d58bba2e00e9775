// Starting programs.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

// Above 32 for success. The only programs known are the two uses of "sndvol32.exe", which open this
// system's own volume program.
PLATFORM_API HINSTANCE ShellExecuteA(HWND owner, LPCSTR verb, LPCSTR file, LPCSTR parameters,
                                     LPCSTR folder, int show);

} // namespace zorsystem
