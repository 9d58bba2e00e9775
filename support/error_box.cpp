// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "support/error_box.h"

#include <cstdio>

namespace Sonorel {

void ShowErrorBox(const TextString& text, const TextString& caption, UINT flags) {
    MessageBoxA(nullptr, text.Text(), caption.Text(),
                flags | MB_TASKMODAL | MB_SETFOREGROUND | MB_TOPMOST);
}

void ShowNotSavedBox(HWND dialog, const char* caption, const char* file) {
    char text[512];
    std::snprintf(text, sizeof text,
                  "The settings are in use only until this dialog opens again or the program ends. "
                  "They cannot be stored:\n%s cannot be written.",
                  file);
    MessageBoxA(dialog, text, caption, MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
}

} // namespace Sonorel
