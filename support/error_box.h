// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Message boxes for errors.
#pragma once

#include "platform/platform.h"
#include "support/text_string.h"

namespace Sonorel {

// Shows a message box without an owner window, above all other windows even if the host is in the
// background, and returns when the user has closed it. flags: MB_ buttons and icon. Thread: host.
void ShowErrorBox(const TextString& text, const TextString& caption, UINT flags);

// Shows a message box over dialog: file cannot be written, so the new settings are lost when the
// dialog opens again or the program ends. Thread: host.
void ShowNotSavedBox(HWND dialog, const char* caption, const char* file);

} // namespace Sonorel
