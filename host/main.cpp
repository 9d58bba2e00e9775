#include "host/commands.h"
#include "host/host_error.h"
#include "host/interrupt.h"

#include <cstdio>
#include <exception>

namespace {

constexpr char About[] =
    "Plays, records and watches MIDI from a terminal, and hears notes in sound.\n\n"
    "Ports are named by their devices; `zorhost devices` lists them. Which ones are in use is\n"
    "laid down in the settings, and a command's own options go before them. Channels count from\n"
    "1, and middle C is C4. Ctrl-C ends every command in order: what sounds is silenced and what\n"
    "was recorded is written.";

constexpr char Footer[] =
    "Exit codes: 0 done, 1 trouble with a file or a port or something was lost,\n"
    "2 the command line makes no sense.";

int Run(int count, char** arguments) {
    CLI::App app(About);
    app.name("zorhost");
    app.footer(Footer);
    app.require_subcommand(1);
    app.fallthrough();
    zorhost::GlobalOptions global;
    app.add_option("--ini", global.IniFolder, "Folder of the settings file ZORMIDI.INI")
        ->type_name("FOLDER");
    app.add_flag("--virtual", global.Virtual,
                 "Use loopback ports, which lead to other zorhosts too, in place of this "
                 "computer's MIDI devices");
    zorhost::AddDevices(app, global);
    zorhost::AddPlay(app, global);
    zorhost::AddRecord(app, global);
    zorhost::AddMonitor(app, global);
    zorhost::AddFollow(app, global);
    zorhost::AddClock(app, global);
    zorhost::AddTranscribe(app, global);
    zorhost::AddListen(app, global);
    zorhost::AddSetup(app, global);
    zorhost::CatchInterrupts();
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? zorhost::ExitOk : zorhost::ExitWrongUse;
    }
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
