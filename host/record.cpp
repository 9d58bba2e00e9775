// zorhost record
#include "host/commands.h"
#include "host/host_error.h"
#include "host/input.h"
#include "host/machine.h"
#include "host/progress.h"
#include "host/recording.h"
#include "host/thru_loop.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

struct RecordOptions {
    std::string File;
    InputOptions Input;
};

std::string CountText(std::size_t notes, std::size_t messages) {
    char text[96];
    std::snprintf(text, sizeof text, "%s  %zu notes, %zu messages",
                  ClockText(ZorTimeMIDI(0)).c_str(), notes, messages);
    return text;
}

void Run(const GlobalOptions& global, const RecordOptions& options) {
    OutputFile file(options.File);
    const Machine machine(global);
    const RunSettings settings(SettingsFolder(global.IniFolder), options.Input.Changes());
    const PortMap map = ReadPortMap(settings.IniPath());
    RefuseThruLoop(map, options.Input);
    std::vector<MIDIEvent> records;
    std::size_t notes = 0;
    Progress progress;
    RunInput(options.Input, map, [&](const std::vector<MIDIEvent>& received) {
        for (const MIDIEvent& record : received) {
            if (record.Status >= 0xF0) continue; // no place in a MIDI file
            records.push_back(record);
            if (record.Status == 0x90 && record.Data2 > 0) ++notes;
        }
        if (progress.Due()) progress.Show(CountText(notes, records.size()));
    });
    progress.End();
    if (records.empty()) throw HostError("nothing came in, so nothing is written");
    WriteRecording(records, {}, file);
    std::printf("Recorded %zu notes, %zu messages in %s, at 120 quarter notes a minute\n", notes,
                records.size(), file.Path().c_str());
}

} // namespace

void AddRecord(CLI::App& app, const GlobalOptions& global) {
    CLI::App* command = app.add_subcommand("record", "Record what comes in as a MIDI file");
    const auto options = std::make_shared<RecordOptions>();
    command->add_option("OUT", options->File, "The MIDI file to write")->required();
    options->Input.AddTo(*command);
    command->callback([&global, options] { Run(global, *options); });
}

} // namespace zorhost
