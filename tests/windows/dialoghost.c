/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* Shows one dialog of ZORMIDI.DLL in a Windows environment, for tests/setup/screen-test:
 *
 *   dialoghost 0|1 DLL
 *
 * Prints the messages that the dialog posts to its parent, with the dialog's user word; after it is
 * closed, whether the parent was disabled and its timer ran meanwhile. */
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>

static int ticks = 0, whileEnabled = 0;

static LRESULT CALLBACK HostProc(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_TIMER) {
        ++ticks;
        whileEnabled += IsWindowEnabled(window) != 0;
        return 0;
    }
    if (message == WM_USER) {
        HWND dialog = (HWND)second;
        printf("message %u from dialog %d\n", message,
               (int)GetWindowLongPtrA(dialog, (int)(sizeof(LRESULT) + sizeof(DLGPROC))));
        fflush(stdout);
        return 0;
    }
    return DefWindowProcA(window, message, first, second);
}

int main(int count, char** arguments) {
    WNDCLASSA kind = {0};
    HWND window;
    HMODULE library = count == 3 ? LoadLibraryA(arguments[2]) : NULL;
    typedef short(WINAPI * InitFn)(unsigned char);
    typedef unsigned char(WINAPI * TermFn)(void);
    typedef void(WINAPI * ConfigFn)(void*, short);
    InitFn init = (InitFn)(void (*)(void))GetProcAddress(library, "MIDISysInit");
    TermFn term = (TermFn)(void (*)(void))GetProcAddress(library, "MIDISysTerm");
    ConfigFn config = (ConfigFn)(void (*)(void))GetProcAddress(library, "ZorConfigMIDIDriver");
    if (!init || !term || !config) return 2;

    kind.lpfnWndProc = HostProc;
    kind.hInstance = GetModuleHandleA(NULL);
    kind.lpszClassName = "dialoghost";
    RegisterClassA(&kind);
    window = CreateWindowExA(0, "dialoghost", "Host", WS_OVERLAPPEDWINDOW, 200, 150, 300, 200, NULL,
                             NULL, kind.hInstance, NULL);
    if (!window || init(0) != -1) return 1;
    ShowWindow(window, SW_SHOW);
    SetTimer(window, 1, 50, NULL);
    config(window, (short)atoi(arguments[1]));
    printf("its timer %s, parent %s meanwhile, %s afterwards\n",
           ticks >= 3 ? "went on" : "stood still", whileEnabled ? "enabled" : "disabled",
           IsWindowEnabled(window) ? "enabled" : "disabled");
    term();
    return 0;
}
