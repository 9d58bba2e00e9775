// Captures through both classes from the system's own devices, also when the microphone is pulled
// out meanwhile and put back. Needs a microphone on which a tone is to be heard, and somebody who
// does what it says in a line, and answers by one. Exit code 0: both heard it.
#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"
#include "support/text_string_array.h"
#include "tests/windows/never_began.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace {

// Filled on the delivering thread; read after Stop.
struct Heard {
    std::atomic<int> Blocks{0};
    std::uint32_t FirstTime = 0, LastTime = 0;
    int Lowest = 255;
    int Highest = 0;
    bool InThePast = true;
    bool Whole = true;
    std::int32_t BytesPerBlock = 0;

    static void Receive(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount,
                        void* context) {
        auto& self = *static_cast<Heard*>(context);
        // Not from one block to the next: what a server that was held up hands over at once is
        // stamped by when it came.
        const auto age = static_cast<std::int32_t>(timeGetTime() - time);
        self.InThePast = self.InThePast && age >= 0;
        if (self.Blocks == 0) self.FirstTime = time;
        self.Whole = self.Whole && byteCount == self.BytesPerBlock;
        self.LastTime = time;
        for (std::int32_t at = 0; at < byteCount; ++at) {
            self.Lowest = std::min(self.Lowest, int{data[at]});
            self.Highest = std::max(self.Highest, int{data[at]});
        }
        ++self.Blocks;
    }
};

void Ask(const char* what) {
    std::printf("%s\n", what);
    std::fflush(stdout);
    std::getchar();
}

int leftAnew = 2; // openings that may be made once more, since the system did not begin

// dx: the same object, if it captures by DirectSound. pullOut: the microphone goes once it is
// heard, and comes back when the capture is closed.
bool Hear(Sonorel::SoundIn& input, Sonorel::SoundInDx* dx, bool pullOut) {
    Heard heard;
    input.SetCallback(&Heard::Receive, &heard);
    if (!input.Open(22050)) {
        std::printf("  cannot be opened\n");
        input.Close();
        return false;
    }
    heard.BytesPerBlock = input.BytesPerBlock;
    input.Start();
    // A sound server can take its time to begin, and a busy machine loses blocks.
    for (int wait = 0; wait < 1200 && heard.Blocks < 40; ++wait) {
        Sleep(50);
        if (!dx || wait < 60 || heard.Blocks > 0 || !neverBegan(dx->CaptureBuffer)) continue;
        input.Close();
        std::printf("  the system did not begin\n");
        return --leftAnew >= 0 && Hear(input, dx, pullOut);
    }
    if (pullOut) {
        Ask("pull");
        Sleep(500); // for the system to find that out
    }
    input.Stop();
    input.Close();
    if (pullOut) Ask("put");
    const auto span = static_cast<std::int32_t>(heard.LastTime - heard.FirstTime);
    std::printf("  %d blocks from %d to %d, stamped over %d ms%s%s\n", heard.Blocks.load(),
                heard.Lowest, heard.Highest, static_cast<int>(span),
                heard.InThePast ? "" : ", some in the future", heard.Whole ? "" : ", some cut");
    return heard.Blocks >= 40 && span > 0 && heard.InThePast && heard.Whole &&
           heard.Lowest <= 100 && heard.Highest >= 156;
}

bool Capture(Sonorel::SoundIn& input, Sonorel::SoundInDx* dx, const char* name) {
    Sonorel::TextStringArray devices;
    std::printf("%s: %d devices", name, static_cast<int>(input.GetDeviceNames(devices)));
    for (std::int32_t index = 0; index < devices.Count; ++index)
        std::printf(", %s", devices.At(index)->Text());
    std::printf("\n");
    // Opened anew each time.
    return Hear(input, dx, false) && Hear(input, dx, true) && Hear(input, dx, false);
}

} // namespace

int main() {
    Sonorel::SoundInDx dx;
    Sonorel::SoundInWin win;
    const bool dxHears = Capture(dx, &dx, "DirectSound");
    const bool winHears = Capture(win, nullptr, "waveIn");
    return dxHears && winHears ? 0 : 1;
}
