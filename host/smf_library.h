// The library that writes MIDI files, with its objects owned and its messages caught. It does not
// read them here: it ends the program over escape messages and over some damaged files.
#pragma once

#include <glib.h>
#include <smf.h>

#include <memory>
#include <string>

namespace zorhost {

struct SmfDelete {
    void operator()(smf_t* smf) const { smf_delete(smf); }
};
using SmfPointer = std::unique_ptr<smf_t, SmfDelete>;

// While one lives, what the library would print is kept instead. Not for two threads at once.
class SmfErrors {
public:
    SmfErrors() : Before(g_log_set_default_handler(&Keep, this)) {}
    ~SmfErrors() { g_log_set_default_handler(Before, nullptr); }
    SmfErrors(const SmfErrors&) = delete;
    SmfErrors& operator=(const SmfErrors&) = delete;

    // The first one, empty if there was none.
    const std::string& Text() const { return First; }

private:
    static void Keep(const char*, GLogLevelFlags level, const char* text, void* self) {
        std::string& first = static_cast<SmfErrors*>(self)->First;
        const int serious = G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING;
        if (first.empty() && (level & serious)) first = text;
    }

    std::string First;
    GLogFunc Before;
};

} // namespace zorhost
