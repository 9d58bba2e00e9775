#include "tests/platform/machine_test.h"

#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
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
        std::array<char, 100> text{};
        if (!std::fgets(text.data(), text.size(), Output)) return "(end)";
        std::string line = text.data();
        while (line.ends_with('\n')) line.pop_back();
        return line;
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

// What arrives here, gathered on the callback thread.
class Arrivals {
public:
    static void CALLBACK CallBack(void*, UINT message, DWORD_PTR instance, DWORD_PTR first,
                                  DWORD_PTR) {
        auto& arrivals = *reinterpret_cast<Arrivals*>(instance);
        if (message != MIM_DATA) return;
        std::lock_guard lock(arrivals.Lock);
        arrivals.Messages.push_back(static_cast<DWORD>(first));
        arrivals.More.notify_all();
    }
    std::vector<DWORD> Take(std::size_t count) {
        std::unique_lock lock(Lock);
        More.wait(lock, [&] { return Messages.size() >= count; });
        return std::exchange(Messages, {});
    }

private:
    std::mutex Lock;
    std::condition_variable More;
    std::vector<DWORD> Messages;
};

class Bridge : public MachineTest {
protected:
    Bridge() {
        // Cables of the test's own.
        setenv("XDG_RUNTIME_DIR", ("/test/" + std::to_string(getpid())).c_str(), 1);
        machine::AddMidiInput("In");
        machine::AddMidiOutput("Out");
        midiInOpen(&In, 0, reinterpret_cast<DWORD_PTR>(&Arrivals::CallBack),
                   reinterpret_cast<DWORD_PTR>(&Here), CALLBACK_FUNCTION);
        midiInStart(In);
        midiOutOpen(&Out, 0, 0, 0, 0);
    }
    ~Bridge() override {
        midiInClose(In);
        midiOutClose(Out);
    }
    // The one file of shared memory that this process uses.
    static std::string Memory() {
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);)
            if (line.find("/zormidi-cable") != std::string::npos)
                return line.substr(line.find("/dev/shm/"));
        return {};
    }

    Arrivals Here;
    HMIDIIN In = nullptr;
    HMIDIOUT Out = nullptr;
};

TEST_F(Bridge, MessagesCrossBothWays) {
    ASSERT_TRUE(machine::BridgeOutput(0, "one to peer")); // there before the peer is
    Peer peer("one");
    ASSERT_TRUE(machine::BridgeInput(0, "one from peer")); // and here after it
    for (const DWORD message : {0x403C90u, 0x7FC2u, 0xF8u}) midiOutShortMsg(Out, message);
    EXPECT_EQ(peer.Line(), "403C90");
    EXPECT_EQ(peer.Line(), "7FC2");
    EXPECT_EQ(peer.Line(), "F8");
    peer.Say("send 403C91");
    EXPECT_EQ(Here.Take(1), (std::vector<DWORD>{0x403C91}));
}

DWORD Numbered(DWORD i) { return 0xF2 | (i & 0x7F) << 8 | (i >> 7 & 0x7F) << 16; }

TEST_F(Bridge, WhatWasSentArrivesThoughItsSenderHasEnded) {
    ASSERT_TRUE(machine::BridgeInput(0, "burst from peer"));
    Peer peer("burst");
    peer.Say("burst 4000");
    peer.End("quit");
    const std::vector<DWORD> got = Here.Take(4000);
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
            if (i % 1000 == 0) Here.Take(1); // this machine's input keeps up meanwhile
        }
        peer.GoOn();
        for (DWORD i = lost; i < Most + lost; ++i)
            ASSERT_EQ(std::stoul(peer.Line(), nullptr, 16), Numbered(i)) << i;
    }
}

TEST_F(Bridge, EveryInputOnTheCableHearsEveryOutput) {
    ASSERT_TRUE(machine::BridgeOutput(0, "many to peer"));
    ASSERT_TRUE(machine::BridgeInput(0, "many to peer")); // this machine's own input too
    Peer first("many"), second("many"), elsewhere("else");
    midiOutShortMsg(Out, 0xFA);
    EXPECT_EQ(first.Line(), "FA");
    EXPECT_EQ(second.Line(), "FA");
    EXPECT_EQ(Here.Take(1), (std::vector<DWORD>{0xFA}));
    elsewhere.End("quit");
    EXPECT_EQ(elsewhere.Line(), "(end)");
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
    machine::RemoveMidiDevices();
    EXPECT_FALSE(fs::exists(second));
    EXPECT_FALSE(machine::BridgeInput(0, "gone"));
    EXPECT_FALSE(machine::BridgeOutput(0, "gone"));
    EXPECT_EQ(Memory(), "");
}

} // namespace
