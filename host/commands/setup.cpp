// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost setup
#include "host/cli/command_line.h"
#include "host/cli/commands.h"
#include "host/cli/help_pages.h"
#include "host/devices/session.h"
#include "host/devices/setting_keys.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include "platform/machine.h"
#include "platform/platform.h"

#include <cstdio>
#include <memory>
#include <sstream>
#include <stop_token>
#include <thread>

namespace zorhost {

namespace {

constexpr unsigned HelpMessage = 1024; // sent by a dialog's Help button to the parent window
constexpr LONG_PTR MidiDialog = 6000;  // user word of the MIDI Setup dialog

struct SetupOptions {
    SetupDialog Dialog = SetupDialog::Midi;
    bool Print = false;
    std::vector<std::string> Changes;
};

// Prints a help page without its pictures.
void PrintPage(const char* page) {
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("![")) std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

// The parent window of the dialogs. Prints the help page when their Help button is pressed.
class HelpWindow {
public:
    HelpWindow() = default;
    ~HelpWindow() { machine::DestroyHostWindow(Handle); }
    HelpWindow(const HelpWindow&) = delete;
    HelpWindow& operator=(const HelpWindow&) = delete;
    void* Handle = machine::CreateHostWindow(OnMessage);

private:
    static void OnMessage(unsigned message, std::uintptr_t, std::intptr_t dialog) {
        if (message != HelpMessage) return;
        const LONG_PTR userWord = GetWindowLongPtrA(reinterpret_cast<HWND>(dialog), DWLP_USER);
        PrintPage(userWord == MidiDialog ? MidiSetupPage : MicrophoneSetupPage);
    }
};

// Runs on its own thread: Ctrl-C closes the dialog without storing anything.
void WatchInterrupts(const std::stop_token& done) {
    while (!done.stop_requested()) {
        if (Interrupted()) machine::CloseDialog();
        Nap(50);
    }
}

// Returns when the user closes the dialog. Throws HostError if there is no display.
void ShowDialog(SetupDialog dialog) {
    const Library library;
    const HelpWindow parent;
    const std::jthread watch(WatchInterrupts);
    ZorConfigMIDIDriver(parent.Handle, dialog == SetupDialog::Midi ? 0 : 1);
    if (const std::string reason = machine::DialogError(); !reason.empty())
        throw HostError("the dialog cannot be shown: " + reason +
                        "\nUse --print and --set to see and change the settings here.");
}

void Setup(const GlobalOptions& global, const SetupOptions& options) {
    const Session session(global, {});
    if (!options.Changes.empty()) ChangeSettings(options.Dialog, options.Changes);
    if (options.Print) PrintSettings(options.Dialog);
    if (!options.Print && options.Changes.empty()) ShowDialog(options.Dialog);
}

void AddDialog(const Command& setup, const GlobalOptions& global, SetupDialog dialog,
               const char* name, const char* about) {
    const Command command = setup.AddCommand(name, about);
    const auto options = std::make_shared<SetupOptions>();
    options->Dialog = dialog;
    command.Flag("--print", options->Print, "Print the settings and the available devices");
    command
        .Value("--set", options->Changes,
               "Change a setting and store it, in the form printed by --print; can be repeated")
        .Repeatable()
        .ValueName("KEY=VALUE");
    command.OnRun([&global, options] { Setup(global, *options); });
}

} // namespace

void AddSetup(const Command& app, const GlobalOptions& global) {
    const Command setup = app.AddCommand(
        "setup", "Open a settings dialog, or print and change settings in the terminal");
    setup.RequireCommand();
    AddDialog(setup, global, SetupDialog::Midi, "midi",
              "MIDI ports: devices, base channels, sync and reset");
    AddDialog(setup, global, SetupDialog::Microphone, "mic",
              "Microphone as a MIDI input: level, source and channel");
}

} // namespace zorhost
