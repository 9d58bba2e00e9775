// zorhost setup
#include "host/cli/command_line.h"
#include "host/cli/commands.h"
#include "host/cli/help_pages.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "host/devices/session.h"
#include "host/devices/setting_keys.h"

#include "platform/machine.h"
#include "platform/platform.h"

#include <cstdio>
#include <memory>
#include <sstream>
#include <stop_token>
#include <thread>

namespace zorhost {

namespace {

constexpr unsigned HelpMessage = 1024; // from a dialog to its parent; the user word says which
constexpr LONG_PTR MidiDialog = 6000;

struct SetupOptions {
    SetupDialog Dialog = SetupDialog::Midi;
    bool Print = false;
    std::vector<std::string> Set;
};

// As a page reads in a terminal: without its pictures.
void PrintPage(const char* page) {
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("![")) std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

// The window that the dialogs belong to, which answers their Help.
class HelpWindow {
public:
    HelpWindow() = default;
    ~HelpWindow() { machine::DestroyHostWindow(Handle); }
    HelpWindow(const HelpWindow&) = delete;
    HelpWindow& operator=(const HelpWindow&) = delete;
    void* Handle = machine::CreateHostWindow(Hear);

private:
    static void Hear(unsigned message, std::uintptr_t, std::intptr_t dialog) {
        if (message != HelpMessage) return;
        const LONG_PTR which = GetWindowLongPtrA(reinterpret_cast<HWND>(dialog), DWLP_USER);
        PrintPage(which == MidiDialog ? MidiSetupPage : MicrophoneSetupPage);
    }
};

// Ctrl-C closes the dialog, storing nothing.
void WatchInterrupts(const std::stop_token& done) {
    while (!done.stop_requested()) {
        if (Interrupted()) machine::CloseDialog();
        Nap(50);
    }
}

// On the screen, until the user closes it.
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
    if (!options.Set.empty()) ChangeSettings(options.Dialog, options.Set);
    if (options.Print) PrintSettings(options.Dialog);
    if (!options.Print && options.Set.empty()) ShowDialog(options.Dialog);
}

void AddDialog(const Command& setup, const GlobalOptions& global, SetupDialog dialog,
               const char* name, const char* about) {
    const Command command = setup.Add(name, about);
    const auto options = std::make_shared<SetupOptions>();
    options->Dialog = dialog;
    command.Flag("--print", options->Print, "Print the settings, and what can be chosen");
    command
        .Value("--set", options->Set,
               "Change a setting and store it; keys and values as --print gives them")
        .Repeated()
        .Named("KEY=VALUE");
    command.Does([&global, options] { Setup(global, *options); });
}

} // namespace

void AddSetup(const Command& app, const GlobalOptions& global) {
    const Command setup = app.Add(
        "setup", "Show a settings dialog, or print and change its settings without a screen");
    setup.NeedsCommand();
    AddDialog(setup, global, SetupDialog::Midi, "midi",
              "Devices of the MIDI ports, their base channels, sync and reset");
    AddDialog(setup, global, SetupDialog::Microphone, "mic",
              "The microphone as a MIDI input: level, source and channel");
}

} // namespace zorhost
