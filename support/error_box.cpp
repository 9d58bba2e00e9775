#include "support/error_box.h"

#include <cstdio>

namespace Sonorel {

void ShowErrorBox(const TextString& text, const TextString& caption, UINT flags) {
    MessageBoxA(nullptr, text.Text(), caption.Text(),
                flags | MB_TASKMODAL | MB_SETFOREGROUND | MB_TOPMOST);
}

void TellUnwritten(HWND dialog, const char* caption, const char* file) {
    char text[512];
    std::snprintf(text, sizeof text,
                  "The settings are in use until the program ends, but they cannot be stored:\n"
                  "%s cannot be written.",
                  file);
    MessageBoxA(dialog, text, caption, MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
}

} // namespace Sonorel
