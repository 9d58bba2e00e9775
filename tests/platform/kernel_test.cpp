#include "tests/platform/machine_test.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using Kernel = MachineTest;

TEST_F(Kernel, ACriticalSectionKeepsOthersOutAndItsOwnerIn) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    long sum = 0; // not atomic: only the section protects it
    const auto add = [&] {
        for (int i = 0; i < 20000; ++i) {
            EnterCriticalSection(&section);
            EnterCriticalSection(&section);
            LeaveCriticalSection(&section);
            ++sum;
            LeaveCriticalSection(&section);
        }
    };
    std::thread first(add), second(add), third(add);
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(sum, 60000);

    EXPECT_TRUE(TryEnterCriticalSection(&section));
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    LeaveCriticalSection(&section);
    std::thread([&] { EXPECT_FALSE(TryEnterCriticalSection(&section)); }).join();
    LeaveCriticalSection(&section);
    std::thread([&] {
        EXPECT_TRUE(TryEnterCriticalSection(&section));
        LeaveCriticalSection(&section);
    }).join();
    DeleteCriticalSection(&section);
}

TEST_F(Kernel, GlobalMemory) {
    const HGLOBAL moveable = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 2048);
    auto* const bytes = static_cast<char*>(GlobalLock(moveable));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(std::count(bytes, bytes + 2048, '\0'), 2048);
    EXPECT_NE(static_cast<void*>(bytes), moveable);
    EXPECT_EQ(GlobalHandle(bytes), moveable);
    EXPECT_EQ(GlobalLock(moveable), bytes); // stays at its address
    EXPECT_TRUE(GlobalUnlock(moveable));    // still locked once
    EXPECT_FALSE(GlobalUnlock(moveable));

    const HGLOBAL fixed = GlobalAlloc(GPTR, 14);
    EXPECT_EQ(GlobalLock(fixed), fixed);
    EXPECT_EQ(GlobalHandle(fixed), fixed);
    EXPECT_EQ(machine::GlobalBlocks(), 2);
    EXPECT_EQ(GlobalFree(moveable), nullptr);
    EXPECT_EQ(GlobalFree(fixed), nullptr);
    EXPECT_EQ(GlobalFree(fixed), fixed); // it is no block any more
    EXPECT_EQ(GlobalLock(moveable), nullptr);
    EXPECT_EQ(machine::GlobalBlocks(), 0);

    // What a negative count of records comes to.
    EXPECT_EQ(GlobalAlloc(GPTR, static_cast<SIZE_T>(-1 * 14)), nullptr);
    EXPECT_EQ(GlobalAlloc(GPTR, 0xFFFFFFF2u), nullptr);
}

TEST_F(Kernel, SplitsPaths) {
    struct Case {
        const char *Path, *Drive, *Directory, *Name, *Extension;
    };
    for (const Case& c : {Case{"/usr/lib/libzormidi.so", "", "/usr/lib/", "libzormidi", ".so"},
                          Case{"C:\\Music\\ZORMIDI.DLL", "C:", "\\Music\\", "ZORMIDI", ".DLL"},
                          Case{"plain", "", "", "plain", ""},
                          Case{"/with.dot/plain", "", "/with.dot/", "plain", ""},
                          Case{"/a/libzormidi.so.4.3", "", "/a/", "libzormidi.so.4", ".3"},
                          Case{"/folder/", "", "/folder/", "", ""}, Case{"", "", "", "", ""}}) {
        char drive[_MAX_DRIVE], directory[_MAX_DIR], name[_MAX_FNAME], extension[_MAX_EXT];
        _splitpath(c.Path, drive, directory, name, extension);
        EXPECT_STREQ(drive, c.Drive) << c.Path;
        EXPECT_STREQ(directory, c.Directory) << c.Path;
        EXPECT_STREQ(name, c.Name) << c.Path;
        EXPECT_STREQ(extension, c.Extension) << c.Path;
    }
    const std::string deep = "/" + std::string(400, 'd') + "/x";
    char directory[_MAX_DIR];
    _splitpath(deep.c_str(), nullptr, directory, nullptr, nullptr);
    EXPECT_EQ(std::strlen(directory), _MAX_DIR - 1u);
}

const char marker = 0; // lies in this program

HMODULE ThisModule() {
    return reinterpret_cast<HMODULE>(reinterpret_cast<std::uintptr_t>(&marker));
}

TEST_F(Kernel, AModuleKnowsWhereItLies) {
    char path[MAX_PATH];
    const std::string program = std::filesystem::canonical("/proc/self/exe").string();
    EXPECT_EQ(GetModuleFileNameA(nullptr, path, MAX_PATH), program.size());
    EXPECT_EQ(path, program);
    EXPECT_EQ(GetModuleFileNameA(ThisModule(), path, MAX_PATH), program.size());
    EXPECT_EQ(path, program);
    // Something that lies in the stand-in's own library.
    const auto there = reinterpret_cast<HMODULE>(&midiInGetNumDevs);
    GetModuleFileNameA(there, path, MAX_PATH);
    EXPECT_NE(std::string(path).find("/libzorplatform.so"), std::string::npos) << path;

    machine::SetModulePath("/some/where/zormidi.so");
    EXPECT_EQ(GetModuleFileNameA(there, path, MAX_PATH), 22u);
    EXPECT_STREQ(path, "/some/where/zormidi.so");
    EXPECT_EQ(GetModuleFileNameA(there, path, 10), 10u);
    EXPECT_STREQ(path, "/some/whe");
}

TEST_F(Kernel, StringsAreCutToTheBuffer) {
    constexpr machine::StringResource strings[] = {{1, "one"}, {515, "Default MIDI Output Device"}};
    machine::RegisterStrings(ThisModule(), strings);
    char text[32] = "before";
    EXPECT_EQ(LoadStringA(ThisModule(), 515, text, 30), 26);
    EXPECT_STREQ(text, "Default MIDI Output Device");
    EXPECT_EQ(LoadStringA(ThisModule(), 515, text, 8), 7);
    EXPECT_STREQ(text, "Default");
    EXPECT_EQ(LoadStringA(ThisModule(), 2, text, 30), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(LoadStringA(nullptr, 1, text, 30), 0);
    EXPECT_EQ(LoadStringA(ThisModule(), 1, text, 0), 0);
    machine::RegisterStrings(ThisModule(), {});
    EXPECT_EQ(LoadStringA(ThisModule(), 1, text, 30), 0);
}

INT_PTR WINAPI Answer() { return 42; }

TEST_F(Kernel, SystemModulesAreThereByNameWhileOffered) {
    EXPECT_EQ(LoadLibraryA("TEST.DLL"), nullptr);
    constexpr machine::ModuleExport exports[] = {{"Answer", Answer}};
    machine::OfferModule("TEST.DLL", exports);
    const HMODULE module = LoadLibraryA("test.dll");
    ASSERT_NE(module, nullptr);
    const FARPROC answer = GetProcAddress(module, "Answer");
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(GetProcAddress(module, "answer"), nullptr); // entries go by case
    EXPECT_EQ(GetProcAddress(module, nullptr), nullptr);

    machine::WithdrawModule("TEST.DLL");
    EXPECT_EQ(GetProcAddress(module, "Answer"), answer); // who has it keeps it
    EXPECT_EQ(machine::LoadedModules(), 1);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_FALSE(FreeLibrary(module));
    EXPECT_EQ(LoadLibraryA("TEST.DLL"), nullptr);
    EXPECT_EQ(machine::LoadedModules(), 0);
}

} // namespace
