// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/cli/command_line.h"
#include "host/cli/commands.h"
#include "host/cli/help.h"
#include "host/cli/help_pages.h"
#include "host/devices/device_selection.h"
#include "host/devices/settings.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>

namespace {

constexpr char About[] =
    "Play, record and monitor MIDI from a terminal, and detect notes in sound.\n\n"
    "Select ports by their number in the list of `zorhost devices`, by name, or by a unique part "
    "of the name. Without an option, a command uses the ports of the settings. Channels count from "
    "1, and middle C is C4. Ctrl-C stops every command cleanly: sounding notes are silenced and "
    "recordings are written.";

constexpr char Footer[] =
    "Exit status: 0 success, 1 a file or port failed or data was lost, 2 invalid command line.";

using Words = std::vector<std::string>;

void AddCommands(CLI::App& app, zorhost::GlobalOptions& global) {
    app.name("zorhost");
    app.formatter(zorhost::HelpFormat());
    app.require_subcommand(1);
    app.fallthrough();
    app.set_help_flag("-h,--help", "Show this help and exit");
    app.set_version_flag("--version", std::string("zorhost ") + zorhost::Version,
                         "Print version and exit");
    app.add_option("--ini", global.IniFolder, "Read settings from ZORMIDI.INI in this folder")
        ->type_name("FOLDER");
    app.add_flag("--virtual", global.Virtual,
                 "Use loopback ports, shared with other zorhost processes, instead of this "
                 "computer's MIDI devices");
    const zorhost::Command commands(&app);
    zorhost::AddDevices(commands, global);
    zorhost::AddPlay(commands, global);
    zorhost::AddRender(commands, global);
    zorhost::AddInfo(commands, global);
    zorhost::AddRecord(commands, global);
    zorhost::AddMonitor(commands, global);
    zorhost::AddFollow(commands, global);
    zorhost::AddClock(commands, global);
    zorhost::AddTranscribe(commands, global);
    zorhost::AddScore(commands);
    zorhost::AddListen(commands, global);
    zorhost::AddSetup(commands, global);
    app.footer(Footer); // after the commands, which would inherit it otherwise
}

// Returns an error text if the first word that is neither an option nor its value is not a command;
// else an empty string.
std::string UnknownCommandError(const CLI::App& app, const Words& words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--ini") {
            ++i;
        } else if (!words[i].starts_with('-')) {
            if (zorhost::FindCommand(app, words[i])) return "";
            const std::string nearest = zorhost::Nearest(words[i], zorhost::CommandNames(app));
            return "unknown command \"" + words[i] + "\"" +
                   (nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?");
        }
    }
    return "";
}

// Returns an error text if the chosen command got an unknown option; else an empty string.
std::string UnknownOptionError(const CLI::App& app) {
    for (const CLI::App* command : app.get_subcommands()) {
        for (const std::string& word : app.remaining(true)) {
            if (!word.starts_with("--")) continue;
            const std::string nearest = zorhost::Nearest(word, zorhost::OptionNames(*command));
            return command->get_name() + ": unknown option \"" + word + "\"" +
                   (nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?");
        }
    }
    return "";
}

// Prints why the command line is invalid. Returns the exit code.
int ReportUsageError(const CLI::App& app, const Words& words, const CLI::ParseError& error) {
    std::string text = UnknownCommandError(app, words);
    if (text.empty()) text = UnknownOptionError(app);
    if (text.empty()) text = error.what();
    std::string command = "zorhost";
    for (const CLI::App* chosen : app.get_subcommands()) command += " " + chosen->get_name();
    std::fprintf(stderr, "zorhost: %s\nRun \"%s --help\" for usage.\n", text.c_str(),
                 command.c_str());
    return zorhost::ExitWrongUse;
}

// Throws HostError if standard output could not be written, for example because the disk is full.
void CheckOutput() {
    errno = 0;
    const bool failed = std::ferror(stdout) != 0;
    if (failed) std::putchar('\n'); // another attempt sets errno
    if (std::fflush(stdout) == 0 && !failed) return;
    const std::string reason = errno ? std::string(": ") + std::strerror(errno) : "";
    throw zorhost::HostError("cannot write standard output" + reason);
}

// For completion: the inputs after --in, the outputs after any other option.
std::vector<std::string> ListPorts(const std::string& option) {
    const zorhost::DeviceSelection devices({});
    return option == "--in" ? zorhost::InputDevices() : zorhost::OutputDevices();
}

int Run(int count, char** arguments) {
    CLI::App app(About);
    zorhost::GlobalOptions global;
    AddCommands(app, global);
    const Words words(arguments + 1, arguments + count);
    if (!words.empty() && words[0] == "--man") {
        std::printf("%s", zorhost::ManualPage(app).c_str());
    } else if (!words.empty() && words[0] == "--complete") {
        for (const std::string& word :
             zorhost::Completions(app, Words(words.begin() + 1, words.end()), ListPorts))
            std::printf("%s\n", word.c_str());
    } else {
        zorhost::CatchInterrupts();
        try {
            app.parse(count, arguments);
        } catch (const CLI::ParseError& error) {
            if (error.get_exit_code() != 0) return ReportUsageError(app, words, error);
            app.exit(error);
        }
    }
    CheckOutput();
    return zorhost::ExitOk;
}

} // namespace

int main(int count, char** arguments) {
    try {
        return Run(count, arguments);
    } catch (const zorhost::HostError& error) {
        std::fprintf(stderr, "zorhost: %s\n", error.what());
        return error.Code;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zorhost: %s\n", error.what());
        return zorhost::ExitFailure;
    }
}
