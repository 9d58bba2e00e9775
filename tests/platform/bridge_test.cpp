#include "tests/support/machine_test.h"

#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A program at the other end of the cable.
class Peer {
public:
    explicit Peer(const std::string& cable) {
        std::array<int, 2> to{}, from{};
        if (pipe(to.data()) != 0 || pipe(from.data()) != 0) std::abort();
        Process = fork();
        if (Process == 0) {
            dup2(to[0], 0);
            dup2(from[1], 1);
            for (const int end : {to[0], to[1], from[0], from[1]}) close(end);
            execl(BRIDGE_PEER, BRIDGE_PEER, cable.c_str(), nullptr);
            _exit(127);
        }
        close(to[0]);
        close(from[1]);
        Input = fdopen(to[1], "w");
        Output = fdopen(from[0], "r");
        EXPECT_EQ(Line(), "ready");
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer() {
        if (Process != 0) End("quit");
        std::fclose(Output);
    }
    void Say(const std::string& line) {
        std::fprintf(Input, "%s\n", line.c_str());
        std::fflush(Input);
    }
    std::string Line() {
        char text[100] = "(end)\n";
        if (!std::fgets(text, sizeof text, Output)) return "(end)";
        return {text, std::strcspn(text, "\n")};
    }
    void Stop() {
        kill(Process, SIGSTOP);
        waitpid(Process, nullptr, WUNTRACED);
    }
    void GoOn() { kill(Process, SIGCONT); }
    void End(const std::string& how) {
        Say(how);
        std::fclose(Input);
        int status = 0;
        waitpid(Process, &status, 0);
        EXPECT_EQ(status, 0);
        Process = 0;
    }

private:
    pid_t Process = 0;
    std::FILE* Input = nullptr;
    std::FILE* Output = nullptr;
};

class Bridge : public MachineTest {
protected:
    Bridge() {
        machine::UseRealClock();
        // Cables of the test's own.
        setenv("XDG_RUNTIME_DIR", ("/test/" + std::to_string(getpid())).c_str(), 1);
        machine::AddMidiInput("In");
        machine::AddMidiOutput("Out");
        midiInOpen(&In, 0, reinterpret_cast<DWORD_PTR>(&OnMidi), reinterpret_cast<DWORD_PTR>(this),
                   CALLBACK_FUNCTION);
        midiInStart(In);
        midiOutOpen(&Out, 0, 0, 0, 0);
    }
    ~Bridge() override {
        midiInClose(In);
        midiOutClose(Out);
    }
    static void CALLBACK OnMidi(void*, UINT, DWORD_PTR self, DWORD_PTR first, DWORD_PTR) {
        auto& here = *reinterpret_cast<Bridge*>(self);
        const std::lock_guard lock(here.Lock);
        here.Messages.push_back(static_cast<DWORD>(first));
        here.More.notify_all();
    }
    std::vector<DWORD> Take(std::size_t count) {
        std::unique_lock lock(Lock);
        More.wait(lock, [&] { return Messages.size() >= count; });
        return std::exchange(Messages, {});
    }
    // The one file of shared memory that this process uses.
    static std::string Memory() {
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);)
            if (line.find("/zormidi-cable") != std::string::npos)
                return line.substr(line.find("/dev/shm/"));
        return {};
    }

    HMIDIIN In = nullptr;
    HMIDIOUT Out = nullptr;
    std::mutex Lock; // of the next two
    std::condition_variable More;
    std::vector<DWORD> Messages;
};

TEST_F(Bridge, EveryInputOnTheCableHearsEveryOutput) {
    ASSERT_TRUE(machine::BridgeOutput(0, "many to peer")); // there before the peers are
    Peer first("many"), second("many"), elsewhere("else");
    ASSERT_TRUE(machine::BridgeInput(0, "many to peer")); // this machine's own input too
    for (const DWORD message : {0x403C90u, 0x7FC2u, 0xF8u}) midiOutShortMsg(Out, message);
    EXPECT_EQ(Take(3), (std::vector<DWORD>{0x403C90, 0x7FC2, 0xF8}));
    for (Peer* peer : {&first, &second})
        for (const char* line : {"403C90", "7FC2", "F8"}) EXPECT_EQ(peer->Line(), line);
    elsewhere.End("quit");
    EXPECT_EQ(elsewhere.Line(), "(end)");
    ASSERT_TRUE(machine::BridgeInput(0, "many from peer")); // and here after them
    second.Say("send 403C91");
    EXPECT_EQ(Take(1), (std::vector<DWORD>{0x403C91}));
}

DWORD Numbered(DWORD i) { return 0xF2 | (i & 0x7F) << 8 | (i >> 7 & 0x7F) << 16; }

TEST_F(Bridge, WhatWasSentArrivesThoughItsSenderHasEnded) {
    ASSERT_TRUE(machine::BridgeInput(0, "burst from peer"));
    Peer peer("burst");
    peer.Say("burst 4000");
    peer.End("quit");
    const std::vector<DWORD> got = Take(4000);
    ASSERT_EQ(got.size(), 4000u);
    for (DWORD i = 0; i < 4000; ++i) ASSERT_EQ(got[i], Numbered(i));
}

// A peer that stands still holds up neither the sender nor the others. It misses nothing, until
// more is waiting than a cable holds: then the oldest.
TEST_F(Bridge, WaitsForAPeerThatIsSlow) {
    constexpr DWORD Most = 65536, TooMany = 100;
    ASSERT_TRUE(machine::BridgeOutput(0, "slow to peer"));
    ASSERT_TRUE(machine::BridgeInput(0, "slow to peer"));
    Peer peer("slow");
    for (const DWORD lost : {DWORD{0}, TooMany}) {
        peer.Stop();
        for (DWORD i = 0; i < Most + lost; ++i) {
            ASSERT_EQ(midiOutShortMsg(Out, Numbered(i)), MMSYSERR_NOERROR);
            if (i % 1000 == 0) Take(1); // this machine's input keeps up meanwhile
        }
        peer.GoOn();
        for (DWORD i = lost; i < Most + lost; ++i)
            ASSERT_EQ(std::stoul(peer.Line(), nullptr, 16), Numbered(i)) << i;
    }
}

TEST_F(Bridge, SurvivesPeersThatDie) {
    ASSERT_TRUE(machine::BridgeOutput(0, "death to peer"));
    Peer dying("death");
    dying.End("die");
    Peer living("death");
    midiOutShortMsg(Out, 0xFB);
    EXPECT_EQ(living.Line(), "FB");
}

TEST_F(Bridge, LeavesNothingBehind) {
    ASSERT_TRUE(machine::BridgeInput(0, "clean"));
    const std::string first = Memory();
    EXPECT_TRUE(fs::exists(first));
    ASSERT_TRUE(machine::BridgeOutput(0, "clean"));
    ASSERT_TRUE(machine::BridgeInput(0, "other"));
    EXPECT_TRUE(fs::exists(first)); // the output still hangs there
    ASSERT_TRUE(machine::BridgeOutput(0, ""));
    EXPECT_FALSE(fs::exists(first));
    const std::string second = Memory();
    machine::PowerOn();
    EXPECT_FALSE(fs::exists(second));
    EXPECT_FALSE(machine::BridgeInput(0, "gone"));
    EXPECT_FALSE(machine::BridgeOutput(0, "gone"));
    EXPECT_EQ(Memory(), "");
}

} // namespace
