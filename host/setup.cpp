// zorhost setup
#include "host/commands.h"
#include "host/help_pages.h"
#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/library.h"
#include "host/microphone.h"
#include "host/settings.h"
#include "host/setup_form.h"
#include "host/virtual_machine.h"

#include "platform/platform.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <stop_token>
#include <thread>

namespace zorhost {

namespace {

constexpr int OkButton = 1, CancelButton = 2;
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
    HWND Handle = machine::CreateHostWindow(Hear);

private:
    static void Hear(unsigned message, std::uintptr_t, std::intptr_t dialog) {
        if (message != HelpMessage) return;
        const LONG_PTR which = GetWindowLongPtrA(reinterpret_cast<HWND>(dialog), DWLP_USER);
        PrintPage(which == MidiDialog ? MidiSetupPage : MicrophoneSetupPage);
    }
};

std::int16_t RowOf(SetupDialog dialog) { return dialog == SetupDialog::Midi ? 0 : 1; }

// Ctrl-C closes the dialog, storing nothing.
void WatchInterrupts(const std::stop_token& done) {
    while (!done.stop_requested()) {
        if (Interrupted()) machine::CloseDialog();
        Nap(50);
    }
}

// On the screen, until the user closes it.
void ShowDialog(SetupDialog dialog) {
    const HelpWindow parent;
    const std::jthread watch(WatchInterrupts);
    ZorConfigMIDIDriver(parent.Handle, RowOf(dialog));
    if (const std::string reason = machine::DialogError(); !reason.empty())
        throw HostError("the dialog cannot be shown: " + reason +
                        "\nUse --print and --set to see and change the settings here.");
}

// Without a screen: the same dialog, worked by the given function.
void RunDialog(SetupDialog dialog, const std::function<void(machine::DialogUser&)>& work) {
    std::exception_ptr trouble;
    machine::ScriptDialogs([&](machine::DialogUser& user) {
        // Nothing may be thrown through the library.
        try {
            work(user);
        } catch (...) {
            trouble = std::current_exception();
            user.Click(CancelButton);
        }
    });
    ZorConfigMIDIDriver(nullptr, RowOf(dialog));
    machine::ScriptDialogs(nullptr);
    if (trouble) std::rethrow_exception(trouble);
}

void ChangeSettings(const SetupOptions& options) {
    std::vector<Setting> settings;
    for (const std::string& text : options.Set) settings.push_back(ParseSetting(text));
    RunDialog(options.Dialog, [&](machine::DialogUser& user) {
        for (const Setting& setting : settings) MakeSetting(options.Dialog, user, setting);
        user.Click(OkButton);
        if (!user.Ended())
            throw HostError("the settings were refused; those of the ports before are stored");
    });
}

void PrintSettings(SetupDialog dialog) {
    RunDialog(dialog, [&](machine::DialogUser& user) {
        for (const Choices& choices : ReadChoices(dialog, user)) {
            std::printf("# %s:\n", choices.Keys.c_str());
            for (const std::string& entry : choices.Entries) std::printf("#   %s\n", entry.c_str());
        }
        for (const Setting& setting : ReadSettings(dialog, user))
            std::printf("%s=%s\n", setting.Key.c_str(), setting.Value.c_str());
    });
}

void Setup(const GlobalOptions& global, const SetupOptions& options) {
    const std::string folder = SettingsFolder(global.IniFolder);
    const bool changes = !options.Print || !options.Set.empty();
    std::error_code none;
    if (changes) std::filesystem::create_directories(folder, none);
    if (none) throw HostError("the folder " + folder + " cannot be made: " + none.message());
    const VirtualMachine machine;
    // So that the level can be set: those of this computer are not reached yet.
    std::optional<Microphone> silent;
    if (options.Dialog == SetupDialog::Microphone) silent.emplace();
    const RunSettings settings(folder, {});
    const Library library;
    if (!options.Set.empty()) ChangeSettings(options);
    if (options.Print) PrintSettings(options.Dialog);
    if (!options.Print && options.Set.empty()) ShowDialog(options.Dialog);
}

void AddDialog(CLI::App& setup, const GlobalOptions& global, SetupDialog dialog, const char* name,
               const char* about) {
    CLI::App* command = setup.add_subcommand(name, about);
    const auto options = std::make_shared<SetupOptions>();
    options->Dialog = dialog;
    command->add_flag("--print", options->Print, "Print the settings, and what can be chosen");
    command
        ->add_option("--set", options->Set,
                     "Change a setting and store it; keys and values as --print gives them")
        ->type_name("KEY=VALUE")
        ->expected(1)
        ->take_all();
    command->callback([&global, options] { Setup(global, *options); });
}

} // namespace

void AddSetup(CLI::App& app, const GlobalOptions& global) {
    CLI::App* setup = app.add_subcommand(
        "setup", "Show a settings dialog, or print and change its settings without a screen");
    setup->require_subcommand(1);
    AddDialog(*setup, global, SetupDialog::Midi, "midi",
              "Devices of the MIDI ports, their base channels, sync and reset");
    AddDialog(*setup, global, SetupDialog::Microphone, "mic",
              "The microphone as a MIDI input: level, source and channel");
}

} // namespace zorhost
