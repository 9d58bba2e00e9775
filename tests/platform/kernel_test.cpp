#include "tests/platform/machine_test.h"

#include <algorithm>
#include <cstring>
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
    std::thread first(add), second(add);
    first.join();
    second.join();
    EXPECT_EQ(sum, 40000);

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
    std::memset(bytes, 0xFF, 2048);
    EXPECT_NE(static_cast<void*>(bytes), moveable); // nobody gets by without locking it
    EXPECT_EQ(GlobalHandle(bytes), moveable);
    EXPECT_EQ(GlobalLock(moveable), bytes); // stays at its address
    EXPECT_TRUE(GlobalUnlock(moveable));    // still locked once
    EXPECT_FALSE(GlobalUnlock(moveable));

    const HGLOBAL fixed = GlobalAlloc(GPTR, 14);
    EXPECT_EQ(GlobalLock(fixed), fixed);
    EXPECT_EQ(GlobalHandle(fixed), fixed);
    for (const HGLOBAL memory : {moveable, fixed, HGLOBAL{}})
        EXPECT_EQ(GlobalFree(memory), nullptr);

    // What a negative count of records comes to.
    EXPECT_EQ(GlobalAlloc(GPTR, static_cast<SIZE_T>(-1 * 14)), nullptr);
    EXPECT_EQ(GlobalAlloc(GPTR, 0xFFFFFFF2u), nullptr);
}

TEST_F(Kernel, AModuleKnowsWhereItLies) {
    char path[MAX_PATH], drive[_MAX_DRIVE], directory[_MAX_DIR];
    const HMODULE there = nullptr;
    for (const char* config : {"/etc/x", "relative"}) {
        setenv("XDG_CONFIG_HOME", config, 1);
        setenv("HOME", "/home/me", 1);
        const std::string folder = *config == '/' ? config : "/home/me/.config";
        EXPECT_EQ(machine::ModulePath(), folder + "/zormidi/libzormidi.so");
    }
    machine::SetModulePath("/some/where.d/zormidi.so");
    EXPECT_EQ(GetModuleFileNameA(there, path, MAX_PATH), 24u);
    _splitpath(path, drive, directory, nullptr, nullptr);
    EXPECT_STREQ(drive, "");
    EXPECT_STREQ(directory, "/some/where.d/");
    EXPECT_EQ(GetModuleFileNameA(there, path, 10), 10u);
    EXPECT_STREQ(path, "/some/whe");
    const std::string deep = "C:/" + std::string(400, 'd') + "/x";
    _splitpath(deep.c_str(), drive, directory, nullptr, nullptr);
    EXPECT_STREQ(drive, "C:");
    EXPECT_EQ(std::strlen(directory), _MAX_DIR - 1u);
}

INT_PTR WINAPI Answer() { return 42; }

TEST_F(Kernel, TheSystemModuleIsThereByNameWhileOffered) {
    EXPECT_EQ(LoadLibraryA("TEST.DLL"), nullptr);
    constexpr static machine::ModuleExport exports[] = {{"Answer", Answer}};
    machine::OfferModule("TEST.DLL", exports);
    const HMODULE module = LoadLibraryA("test.dll");
    ASSERT_NE(module, nullptr);
    machine::OfferModule(nullptr, {});
    EXPECT_EQ(LoadLibraryA("TEST.DLL"), nullptr);
    const FARPROC answer = GetProcAddress(module, "Answer"); // who has it keeps it
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(GetProcAddress(module, "answer"), nullptr); // entries go by case
    EXPECT_TRUE(FreeLibrary(module));
}

} // namespace
