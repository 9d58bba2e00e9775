#include "tests/platform/machine_test.h"

#include <array>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
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
    static void CALLBACK CallBack(HMIDIIN, UINT message, DWORD_PTR instance, DWORD_PTR first,
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
        // A runtime folder of the test's own. Set once: the bridge keeps watching its first folder.
        static const std::string folder = [] {
            std::string path = "/tmp/zor-bridge-XXXXXX";
            if (!mkdtemp(path.data())) std::abort();
            setenv("XDG_RUNTIME_DIR", path.c_str(), 1);
            std::atexit([] { fs::remove_all(std::getenv("XDG_RUNTIME_DIR")); });
            return path;
        }();
        Folder = folder + "/zormidi";
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
    std::ptrdiff_t Sockets() const { return std::distance(fs::directory_iterator(Folder), {}); }

    fs::path Folder;
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

TEST_F(Bridge, ABurstArrivesWholeAndInOrder) {
    ASSERT_TRUE(machine::BridgeInput(0, "burst from peer"));
    Peer peer("burst");
    peer.Say("burst 4000"); // many times what a socket holds
    peer.End("quit");       // and the program ends at once
    const std::vector<DWORD> got = Here.Take(4000);
    ASSERT_EQ(got.size(), 4000u);
    for (DWORD i = 0; i < 4000; ++i) ASSERT_EQ(got[i], 0xF2 | (i & 0x7F) << 8 | (i >> 7) << 16);
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
    EXPECT_EQ(Sockets(), 1); // left behind
    Peer living("death");
    midiOutShortMsg(Out, 0xFB);
    EXPECT_EQ(living.Line(), "FB");
    EXPECT_EQ(Sockets(), 1); // found dead and cleared away
}

TEST_F(Bridge, LeavesNothingBehind) {
    ASSERT_TRUE(machine::BridgeInput(0, "clean"));
    EXPECT_EQ(Sockets(), 1);
    ASSERT_TRUE(machine::BridgeInput(0, "other"));
    EXPECT_EQ(Sockets(), 1); // hung over
    ASSERT_TRUE(machine::BridgeInput(0, ""));
    EXPECT_EQ(Sockets(), 0);
    ASSERT_TRUE(machine::BridgeInput(0, "clean"));
    machine::RemoveMidiDevices();
    EXPECT_EQ(Sockets(), 0);
    { Peer peer("clean"); }
    EXPECT_EQ(Sockets(), 0);
    EXPECT_FALSE(machine::BridgeInput(0, "gone"));
    EXPECT_FALSE(machine::BridgeOutput(0, "gone"));
}

} // namespace
