// The microphone's setup dialog.
#include "engine/driver.h"

void PRecConfig(HWND parent) {
    MessageBoxA(parent, "Could not create dialog box.", "PRecDevConfig",
                MB_ICONEXCLAMATION | MB_OK);
}
