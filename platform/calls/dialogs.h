// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Running modal dialogs.
#pragma once

#include "platform/api/screen.h"

namespace calls {

// Shows a dialog on the screen until it ends. Returns its result. Thread: the dialog's.
INT_PTR RunDialog(device::Screen& screen, ui::Dialog& dialog, LPARAM init);

// The screen on which the calling thread shows a dialog; null if it shows none.
device::Screen* ScreenOfThisThread();

} // namespace calls
