// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fluidsynth/client.h"

#include <dlfcn.h>

namespace device {
namespace {

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

} // namespace

DriverPointer OpenDriver(fluid_settings_t* settings, fluid_audio_func_t render, void* data) {
    if (fluid_settings_str_equal(settings, "audio.driver", "jack") && !JackServerRuns())
        return nullptr;
    return DriverPointer(new_fluid_audio_driver2(settings, render, data));
}

} // namespace device
