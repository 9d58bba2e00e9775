#include "host/session.h"

#include "host/host_error.h"

namespace zorhost {

namespace {

RunChanges Changes(const SessionPlan& plan) {
    RunChanges changes;
    changes.Inputs = plan.Inputs;
    changes.Outputs = plan.Outputs;
    changes.Microphone = !plan.Microphone.empty();
    changes.MicrophoneChannel = changes.Microphone ? MicrophoneChannel : 0;
    return changes;
}

} // namespace

Session::Session(const GlobalOptions& global, const SessionPlan& plan)
    : On(global, plan.Joined), Settings(SettingsFolder(global.IniFolder), Changes(plan)),
      Map(ReadPortMap(Settings.IniPath())), Mic(PlugMicrophone(plan.Microphone, Map)) {}

void Session::Start(const StartOptions& options) { Lib.emplace().Start(options); }

void Session::Stop() { Lib.reset(); }

void Session::RefuseLoop(const std::string& option) const {
    for (const Port& output : Map.Outputs) {
        for (const Port& input : Map.Inputs) {
            if (output.Device.empty() || output.Device != input.Device) continue;
            if (!Machine::IsLoopback(output.Device)) continue;
            throw HostError(option + ": \"" + output.Device +
                                "\" plays into an input that is listened to, so what is sent would "
                                "come in again; take another loopback port, or listen to another "
                                "one with --in",
                            ExitWrongUse);
        }
    }
}

} // namespace zorhost
