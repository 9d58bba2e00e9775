// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fluidsynth/driver.h"

#include "platform/backends/fluidsynth/client.h"

#include <dlfcn.h>
#include <system_error>
#include <thread>

namespace device {
namespace {

using namespace std::chrono_literals;
using machine::SynthesizerSettings;

constexpr auto MaxWait = 1900ms;

// Whether a JACK server runs. Where none does, libjack would try to start one for two seconds, and
// print what it tries. The question goes to the copy that libfluidsynth has loaded, whose header an
// installation need not have: these are its published C types.
bool JackServerRuns() {
    void* const jack = dlopen("libjack.so.0", RTLD_NOW | RTLD_NOLOAD);
    if (!jack) return true; // under another name: the driver itself finds out
    using SetPrinter = void (*)(void (*)(const char*));
    for (const char* const name : {"jack_set_error_function", "jack_set_info_function"})
        if (const auto set = reinterpret_cast<SetPrinter>(dlsym(jack, name)))
            set([](const char*) {});
    using OpenClient = void* (*)(const char* name, int options, int* status, ...);
    using CloseClient = int (*)(void* client);
    const auto open = reinterpret_cast<OpenClient>(dlsym(jack, "jack_client_open"));
    const auto close = reinterpret_cast<CloseClient>(dlsym(jack, "jack_client_close"));
    constexpr int NoStartServer = 1;
    void* const client = open && close ? open("zormidi", NoStartServer, nullptr) : nullptr;
    if (client) close(client);
    dlclose(jack);
    return client != nullptr;
}

int OnDriver(void* source, int frames, int, float**, int, float* output[]) {
    auto& rendered = *static_cast<SoundSource*>(source);
    rendered.LastBlock = Clock::now();
    rendered.Render(output[0], output[1], static_cast<std::size_t>(frames));
    return FLUID_OK;
}

DriverPointer OpenDriver(fluid_settings_t* settings, SoundSource* source) {
    if (fluid_settings_str_equal(settings, "audio.driver", "jack") && !JackServerRuns())
        return nullptr;
    return DriverPointer(new_fluid_audio_driver2(settings, &OnDriver, source));
}

// Why the driver of the settings cannot be opened. hangs: it was waited for.
std::string DriverProblem(const SynthesizerSettings& wanted, bool hangs) {
    if (!wanted.Driver.empty() && wanted.Driver != "pulseaudio")
        return "The sound driver \"" + wanted.Driver + "\" " +
               (hangs ? "does not answer" : "finds nothing to play on") + ".";
    if (hangs) return "The sound server does not answer: start it anew.";
    return "No sound server with an output can be reached: start PulseAudio, or PipeWire with "
           "pipewire-pulse.";
}

// Opens a driver, and closes it at the end of its owner.
void RunDriver(const SynthesizerSettings& wanted, double rate, SoundSource& source,
               std::promise<std::string>& problem, const std::shared_future<void>& end) {
    const std::scoped_lock lock(source.Driven);
    std::string reason;
    const SettingsPointer settings = MakeSettings(wanted, rate, reason);
    const DriverPointer driver = settings ? OpenDriver(settings.get(), &source) : nullptr;
    if (driver)
        source.LastBlock = Clock::now();
    else if (settings)
        reason = DriverProblem(wanted, false);
    problem.set_value(reason);
    end.wait();
}

} // namespace

SoundDriver::SoundDriver(const SynthesizerSettings& wanted, double rate,
                         const std::shared_ptr<SoundSource>& source)
    : Wanted(wanted) {
    const auto problem = std::make_shared<std::promise<std::string>>();
    Problem = problem->get_future();
    const std::string failure =
        StartThread([wanted, rate, source, problem, end = Owned.get_future().share()] {
            RunDriver(wanted, rate, *source, *problem, end);
        });
    if (!failure.empty()) problem->set_value(failure);
}

bool SoundDriver::IsOpening() const { return Problem.wait_for(0s) != std::future_status::ready; }

std::string SoundDriver::AwaitOpening() const {
    const bool hangs = Problem.wait_until(Begin + MaxWait) != std::future_status::ready;
    return hangs ? DriverProblem(Wanted, true) : Problem.get();
}

std::string StartThread(std::function<void()> run) {
    try {
        std::thread(std::move(run)).detach();
        return "";
    } catch (const std::system_error& error) {
        return std::string("The synthesizer cannot start a thread: ") + error.what() + ".";
    }
}

} // namespace device
