// The shared library as a host meets it: loaded at run time, with the user's settings.
#include "platform/machine.h"

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class Library {
public:
    explicit Library(const fs::path& path) : Handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(Handle, nullptr) << dlerror();
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() {
        if (Handle) dlclose(Handle);
    }
    template <typename Function>
    Function* Find(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(Handle, name));
    }

private:
    void* Handle;
};

TEST(Attach, ALoadedLibraryHasItsStringsAndItsFolder) {
    machine::PowerOn();
    const fs::path folder = fs::path(testing::TempDir()) / ("attach-" + std::to_string(getpid()));
    fs::create_directories(folder / "zormidi");
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    fs::copy_file(ZORMIDI_LIBRARY, folder / "libzormidi.so");
    std::ofstream(folder / "zormidi" / "ZORMIDI.INI") << "[ZORMIDI]\nMMESpeed=9\n";

    for (const bool again : {false, true}) { // unloaded in between
        const Library library(folder / "libzormidi.so");
        char text[30] = "";
        library.Find<std::uint32_t(char*)>("ZorMIDIDriverVersion")(text);
        EXPECT_STREQ(text, "Vantry MIDI driver") << again;
        EXPECT_EQ(library.Find<std::int16_t(std::uint8_t)>("MIDISysInit")(0), -1) << again;
        library.Find<std::uint8_t()>("ZorStartTimer")();
        EXPECT_EQ(machine::OpenTimerPeriods(), (std::vector<unsigned>{9})) << again;
        library.Find<std::uint8_t()>("ZorStopMIDI")();
        library.Find<std::uint8_t()>("MIDISysTerm")();
        EXPECT_TRUE(machine::OpenTimerPeriods().empty()) << again;
    }
    fs::remove_all(folder);
}

} // namespace
