#include "host/options.h"

namespace zorhost {

namespace {

CLI::Option* AddDevices(CLI::App& command, const char* option, Texts& devices,
                        const std::string& help) {
    return command.add_option(option, devices, help)->allow_extra_args(false)->type_name("PORT");
}

} // namespace

CLI::Option* AddInputs(CLI::App& command, Texts& inputs, const std::string& help) {
    return AddDevices(command, "--in", inputs,
                      help + "; give it again for several. Without it: the inputs of the settings");
}

CLI::Option* AddOutputs(CLI::App& command, const char* option, Texts& outputs,
                        const std::string& help) {
    return AddDevices(command, option, outputs, help + "; give it again for several");
}

CLI::Option* AddSeconds(CLI::App& command, double& seconds) {
    return command
        .add_option("--seconds", seconds, "Stop after so many seconds, not only at Ctrl-C")
        ->check(CLI::Range(0.001, 2000000.0).description(""))
        ->type_name("N");
}

CLI::Option* AddMicrophoneFile(CLI::App& command, std::string& file) {
    return command
        .add_option("--mic", file,
                    "Sound file that the microphone hears meanwhile; its notes come in on "
                    "channel 65")
        ->type_name("FILE");
}

void AddPiece(CLI::App& command, Piece& piece) {
    command.add_option("FILE", piece.File, "The piece, a .mid file")->required();
    command.add_flag("--strict", piece.Strict,
                     "Refuse a file in which anything must be put right or left out");
}

CLI::Option* AddJson(CLI::App& command, bool& json, const char* what) {
    return command.add_flag("--json", json, std::string("Print ") + what + " as JSON");
}

} // namespace zorhost
