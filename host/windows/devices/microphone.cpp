// The microphone is the one that Windows prefers; nothing can be put in its place.
#include "host/devices/microphone.h"

#include "host/terminal/host_error.h"

#include <cstdio>

namespace zorhost {

Microphone::Microphone(const std::string& path) : Device() {
    throw HostError("--mic: on Windows the microphone cannot hear a file (\"" + path +
                        "\"); play it into one",
                    ExitWrongUse);
}

double Microphone::Seconds() const { return 0; }
double Microphone::SecondsHeard() const { return 0; }
bool Microphone::Ended() const { return false; }
void Microphone::CheckRead() const {}
std::int64_t Microphone::StartTime() const { return 0; }

void ChooseMicrophone(int number) {
    const auto found = machine::FindMicrophones();
    if (found.empty()) throw HostError("there is no microphone");
    if (number != 1)
        throw HostError("--device: on Windows the first microphone is heard, \"" +
                            found.front().Name +
                            "\"; the system's sound settings say which is the first",
                        ExitWrongUse);
    std::fprintf(stderr, "Microphone: %s\n", found.front().Name.c_str());
}

// A missing one is the library's to tell.
std::unique_ptr<Microphone> PlugMicrophone(const std::string& file, const PortMap&) {
    return file.empty() ? nullptr : std::make_unique<Microphone>(file);
}

} // namespace zorhost
