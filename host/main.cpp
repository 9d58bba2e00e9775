#include "host/cli/command_line.h"
#include "host/cli/commands.h"
#include "host/cli/help.h"
#include "host/cli/help_pages.h"
#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>

namespace {

constexpr char About[] =
    "Plays, records and watches MIDI from a terminal, and hears notes in sound.\n\n"
    "Ports go by their number in the list of `zorhost devices`, by name, or by a part of the name. "
    "Which ones are in use is laid down in the settings, and a command's own options go before "
    "them. Channels count from 1, and middle C is C4. Ctrl-C ends every command in order: what "
    "sounds is silenced and what was recorded is written.";

constexpr char Footer[] =
    "Exit codes: 0 done, 1 trouble with a file or a port or something was lost, 2 the command line "
    "makes no sense.";

using Words = std::vector<std::string>;

void AddCommands(CLI::App& app, zorhost::GlobalOptions& global) {
    app.name("zorhost");
    app.formatter(zorhost::HelpFormat());
    app.require_subcommand(1);
    app.fallthrough();
    app.set_help_flag("-h,--help", "Tell what there is, then end");
    app.set_version_flag("--version", std::string("zorhost ") + zorhost::Version,
                         "Tell the version, then end");
    app.add_option("--ini", global.IniFolder, "Folder of the settings file ZORMIDI.INI")
        ->type_name("FOLDER");
    app.add_flag("--virtual", global.Virtual,
                 "Use loopback ports, which lead to other zorhosts too, in place of this "
                 "computer's MIDI devices");
    const zorhost::Command commands(&app);
    zorhost::AddDevices(commands, global);
    zorhost::AddPlay(commands, global);
    zorhost::AddInfo(commands, global);
    zorhost::AddRecord(commands, global);
    zorhost::AddMonitor(commands, global);
    zorhost::AddFollow(commands, global);
    zorhost::AddClock(commands, global);
    zorhost::AddTranscribe(commands, global);
    zorhost::AddListen(commands, global);
    zorhost::AddSetup(commands, global);
    app.footer(Footer); // last, so that no command inherits it
}

// What was meant by the first word that is no command and no option's value.
std::string CommandAdvice(const CLI::App& app, const Words& words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--ini") {
            ++i;
        } else if (!words[i].starts_with('-')) {
            if (zorhost::CommandNamed(app, words[i])) return "";
            const std::string meant = zorhost::Nearest(words[i], zorhost::CommandNames(app));
            return "there is no command \"" + words[i] + "\"" +
                   (meant.empty() ? "" : "; did you mean \"" + meant + "\"?");
        }
    }
    return "";
}

std::string OptionAdvice(const CLI::App& app) {
    for (const CLI::App* command : app.get_subcommands()) {
        for (const std::string& word : app.remaining(true)) {
            if (!word.starts_with("--")) continue;
            const std::string meant = zorhost::Nearest(word, zorhost::OptionNames(*command));
            return command->get_name() + ": there is no option \"" + word + "\"" +
                   (meant.empty() ? "" : "; did you mean \"" + meant + "\"?");
        }
    }
    return "";
}

int AnswerWrongUse(const CLI::App& app, const Words& words, const CLI::ParseError& error) {
    std::string text = CommandAdvice(app, words);
    if (text.empty()) text = OptionAdvice(app);
    if (text.empty()) text = error.what();
    std::string command = "zorhost";
    for (const CLI::App* chosen : app.get_subcommands()) command += " " + chosen->get_name();
    std::fprintf(stderr, "zorhost: %s\n\"%s --help\" tells what there is.\n", text.c_str(),
                 command.c_str());
    return zorhost::ExitWrongUse;
}

// What stays in a full disk's buffer is as lost as what could not be recorded.
void CheckOutput() {
    errno = 0;
    const bool failed = std::ferror(stdout) != 0;
    if (failed) std::putchar('\n'); // once more, to be told why
    if (std::fflush(stdout) == 0 && !failed) return;
    const std::string why = errno ? std::string(": ") + std::strerror(errno) : "";
    throw zorhost::HostError("standard output cannot be written" + why);
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
             zorhost::Completions(app, Words(words.begin() + 1, words.end())))
            std::printf("%s\n", word.c_str());
    } else {
        zorhost::CatchInterrupts();
        try {
            app.parse(count, arguments);
        } catch (const CLI::ParseError& error) {
            if (error.get_exit_code() != 0) return AnswerWrongUse(app, words, error);
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
        return zorhost::ExitTrouble;
    }
}
