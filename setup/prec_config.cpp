// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/driver_table.h"
#include "engine/library_instance.h"
#include "setup/tonequill.h"

void PRecConfig(HWND parent) {
    // Registers the slider class, which the dialog needs.
    InitCommonControls();
    const INT_PTR result = DialogBoxParamA(ModuleInstance, MAKEINTRESOURCEA(tonequill::Resource),
                                           parent, PRecSetupProc, 0);
    if (result == -1)
        MessageBoxA(parent, "Could not create dialog box.", "PRecDevConfig",
                    MB_ICONEXCLAMATION | MB_OK);
}
