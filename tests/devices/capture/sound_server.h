// The sound server of this run, as the script "server" plays it.
#pragma once

#include "platform/machine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

inline bool Shell(const std::string& command) { return std::system(command.c_str()) == 0; }
inline bool Server(const std::string& what) {
    return Shell("\"$SOUND_SERVER\" \"$SOUND_SERVER_KIND\" " + what);
}

// Whether something comes true: at once, or after the servers and this busy machine took their
// time.
template <class Condition>
bool Comes(Condition condition) {
    for (int tries = 0; tries < 3000; ++tries) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}
