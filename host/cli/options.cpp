#include "host/cli/options.h"

namespace zorhost {

namespace {

Option AddDevices(const Command& command, const char* option, Texts& devices,
                  const std::string& help) {
    return command.Value(option, devices, help).Repeated().Named("PORT");
}

} // namespace

Option AddInputs(const Command& command, Texts& inputs, const std::string& help) {
    return AddDevices(command, "--in", inputs,
                      help + "; give it again for several. Without it: the inputs of the settings");
}

Option AddOutputs(const Command& command, const char* option, Texts& outputs,
                  const std::string& help) {
    return AddDevices(command, option, outputs, help + "; give it again for several");
}

Option AddSeconds(const Command& command, double& seconds) {
    return command.Value("--seconds", seconds, "Stop after so many seconds, not only at Ctrl-C")
        .Sensible(0.001, 2000000)
        .Named("N");
}

Option AddMicrophoneFile(const Command& command, std::string& file) {
    return command
        .Value("--mic", file,
               "Sound file that the microphone hears meanwhile; its notes come in on "
               "channel 65")
        .Named("FILE");
}

void AddPiece(const Command& command, Piece& piece) {
    command.Value("FILE", piece.File, "The piece, a .mid file").Required();
    command.Flag("--strict", piece.Strict,
                 "Refuse a file in which anything must be put right or left out");
}

Option AddJson(const Command& command, bool& json, const char* what) {
    return command.Flag("--json", json, std::string("Print ") + what + " as JSON");
}

} // namespace zorhost
