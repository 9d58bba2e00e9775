// DirectSound capture on virtual microphones, on the stepped clock.
#include "tests/platform/audio_support.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace machine;
constexpr std::uint32_t Begin = 5000;
constexpr DWORD Blocks = 32;
constexpr DWORD BlockFrames = 512;
constexpr DWORD BlockBytes = BlockFrames * 4;
constexpr DWORD RingBytes = Blocks * BlockBytes;

using EnumerateFunction = HRESULT(WINAPI*)(LPDSENUMCALLBACKA, LPVOID);
using CreateFunction = HRESULT(WINAPI*)(LPCGUID, IDirectSoundCapture**, IUnknown*);

struct Library {
    Library() : Module(LoadLibraryA("DSOUND.DLL")) {
        if (Module == nullptr) return;
        const auto entry = [this](const char* name) {
            return reinterpret_cast<void (*)()>(GetProcAddress(Module, name));
        };
        Enumerate = reinterpret_cast<EnumerateFunction>(entry("DirectSoundCaptureEnumerateA"));
        Create = reinterpret_cast<CreateFunction>(entry("DirectSoundCaptureCreate"));
    }
    ~Library() {
        if (Module != nullptr) FreeLibrary(Module);
    }
    HMODULE Module;
    EnumerateFunction Enumerate = nullptr;
    CreateFunction Create = nullptr;
};

class DirectSoundTest : public testing::Test {
protected:
    void SetUp() override {
        PowerOn();
        UseSteppedClock(Begin);
        Mic = AddMicrophone({.Name = "Studio"});
        FeedGenerator(Mic, sound::Ramp());
        for (HANDLE& event : Events) event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    }
    void TearDown() override {
        Release();
        for (HANDLE& event : Events) CloseHandle(event);
        EXPECT_EQ(OpenCaptureObjects(), 0);
        PowerOn();
    }

    void Release() {
        if (Buffer != nullptr) Buffer->Release();
        if (Capture != nullptr) Capture->Release();
        Buffer = nullptr;
        Capture = nullptr;
    }
    HRESULT OpenBuffer(DWORD bytes = RingBytes, unsigned rate = 22050) {
        Library library;
        HRESULT result = library.Create(nullptr, &Capture, nullptr);
        if (FAILED(result)) return result;
        WAVEFORMATEX wave = sound::Wave(rate, 2, 16);
        DSCBUFFERDESC desc = {};
        desc.dwSize = sizeof(DSCBUFFERDESC1);
        desc.dwBufferBytes = bytes;
        desc.lpwfxFormat = &wave;
        return Capture->CreateCaptureBuffer(&desc, &Buffer, nullptr);
    }
    HRESULT SetPlaces(const std::vector<DSBPOSITIONNOTIFY>& places) {
        void* object = nullptr;
        EXPECT_EQ(Buffer->QueryInterface(IID_IDirectSoundNotify, &object), DS_OK);
        auto* notify = static_cast<IDirectSoundNotify*>(object);
        const HRESULT result =
            notify->SetNotificationPositions(static_cast<DWORD>(places.size()), places.data());
        notify->Release();
        return result;
    }
    // An event at the last byte of each block.
    void NotifyEachBlock() {
        std::vector<DSBPOSITIONNOTIFY> places;
        for (DWORD i = 0; i < Blocks; ++i) places.push_back({(i + 1) * BlockBytes - 1, Events[i]});
        ASSERT_EQ(SetPlaces(places), DS_OK);
    }
    void Begins(DWORD bytes = RingBytes) {
        ASSERT_EQ(OpenBuffer(bytes), DS_OK);
        NotifyEachBlock();
        ASSERT_EQ(Buffer->Start(DSCBSTART_LOOPING), DS_OK);
    }
    // The number of the one event that is set; -1 for none, -2 for several. Resets them.
    int TheEvent() {
        int set = -1;
        for (DWORD i = 0; i < Blocks; ++i)
            if (WaitForSingleObject(Events[i], 0) == WAIT_OBJECT_0)
                set = set == -1 ? static_cast<int>(i) : -2;
        return set;
    }
    std::vector<std::int16_t> Read(DWORD offset, DWORD bytes) {
        void* parts[2] = {};
        DWORD sizes[2] = {};
        EXPECT_EQ(Buffer->Lock(offset, bytes, &parts[0], &sizes[0], &parts[1], &sizes[1], 0),
                  DS_OK);
        EXPECT_EQ(sizes[0] + sizes[1], bytes);
        std::vector<std::int16_t> samples = sound::Words(parts[0], sizes[0]);
        const auto more = sound::Words(parts[1], sizes[1]);
        samples.insert(samples.end(), more.begin(), more.end());
        EXPECT_EQ(Buffer->Unlock(parts[0], sizes[0], parts[1], sizes[1]), DS_OK);
        return samples;
    }
    static void ExpectRamp(const std::vector<std::int16_t>& samples, std::uint64_t frame) {
        for (std::size_t i = 0; i < samples.size(); ++i)
            ASSERT_EQ(samples[i], sound::RampSample(frame + i / 2, i % 2)) << i;
    }

    Microphone Mic{};
    IDirectSoundCapture* Capture = nullptr;
    IDirectSoundCaptureBuffer* Buffer = nullptr;
    std::array<HANDLE, Blocks> Events{};
};

TEST_F(DirectSoundTest, IsThereOrNotAsTheMachineIsSet) {
    EXPECT_NE(Library().Create, nullptr);
    EXPECT_NE(Library().Enumerate, nullptr);
    SetDirectSound(DirectSound::WithoutCapture);
    EXPECT_NE(Library().Module, nullptr);
    EXPECT_EQ(Library().Create, nullptr);
    EXPECT_EQ(Library().Enumerate, nullptr);
    SetDirectSound(DirectSound::Absent);
    EXPECT_EQ(Library().Module, nullptr);
    SetDirectSound(DirectSound::Present);
    EXPECT_NE(Library().Create, nullptr);
}

TEST_F(DirectSoundTest, EachBlockIsToldInTimeAndLiesInTheRing) {
    Begins();
    std::uint64_t block = 0;
    DWORD captured = 0;
    DWORD readable = 0;
    while (block < 3 * Blocks + 5) { // three times round, with the wrap
        ASSERT_TRUE(AdvanceToNext(1000));
        const DWORD place = static_cast<DWORD>(block % Blocks);
        ASSERT_EQ(TheEvent(), static_cast<int>(place));
        ++block;
        ASSERT_EQ(timeGetTime(), sound::MillisecondOf(Begin, block * BlockFrames, 22050));
        ASSERT_EQ(Buffer->GetCurrentPosition(&captured, &readable), DS_OK);
        ASSERT_EQ(captured, block % Blocks * BlockBytes);
        ASSERT_EQ(readable, captured);
        ExpectRamp(Read(place * BlockBytes, BlockBytes), (block - 1) * BlockFrames);
    }
    const std::uint64_t before = Microseconds();
    Advance(10); // between two blocks the cursor runs on, and the readable one waits
    ASSERT_EQ(Buffer->GetCurrentPosition(&captured, &readable), DS_OK);
    EXPECT_EQ(readable, 5 * BlockBytes);
    const std::uint64_t frames = (before + 10000 - Begin * 1000u) * 22050 / 1000000;
    EXPECT_EQ(captured, frames % (Blocks * BlockFrames) * 4);

    EXPECT_EQ(Buffer->Stop(), DS_OK);
    Advance(1000);
    EXPECT_EQ(TheEvent(), -1);
    ASSERT_EQ(Buffer->GetCurrentPosition(&captured, &readable), DS_OK);
    EXPECT_EQ(captured, readable);
    EXPECT_EQ(captured, frames % (Blocks * BlockFrames) * 4);
    ExpectRamp(Read(5 * BlockBytes, captured - 5 * BlockBytes), (3 * Blocks + 5) * BlockFrames);
}

TEST_F(DirectSoundTest, NotificationsAreLeftOutWhenTheDeviceIsInTrouble) {
    Begins();
    AdvanceToNext(100);
    EXPECT_EQ(TheEvent(), 0);
    FallBehind(Mic, 16);
    Advance(16 * 24);
    EXPECT_EQ(TheEvent(), -1);
    Advance(24);
    EXPECT_EQ(TheEvent(), 17);
    ExpectRamp(Read(9 * BlockBytes, BlockBytes), 9 * BlockFrames); // the sound is there
    StopNotifying(Mic);
    Advance(2000);
    EXPECT_EQ(TheEvent(), -1);
    StopNotifying(Mic, false);
    Advance(24);
    EXPECT_GE(TheEvent(), 0);
    EXPECT_EQ(Buffer->Stop(), DS_OK);
}

TEST_F(DirectSoundTest, WhatIsLockedIsNotOverwritten) {
    Begins();
    Advance(800); // once round
    void* parts[2] = {};
    DWORD sizes[2] = {};
    // The last half block and the first half one.
    ASSERT_EQ(Buffer->Lock(RingBytes - BlockBytes / 2, BlockBytes, &parts[0], &sizes[0], &parts[1],
                           &sizes[1], 0),
              DS_OK);
    EXPECT_EQ(sizes[0], BlockBytes / 2);
    EXPECT_EQ(sizes[1], BlockBytes / 2);
    const auto before = sound::Words(parts[0], sizes[0]);
    Advance(1500);
    EXPECT_EQ(sound::Words(parts[0], sizes[0]), before);
    EXPECT_GT(StatsOf(Mic).FramesLost, 0u);
    ASSERT_EQ(Buffer->Unlock(parts[0], sizes[0], parts[1], sizes[1]), DS_OK);
    EXPECT_EQ(Buffer->Unlock(parts[0], sizes[0], parts[1], sizes[1]), DSERR_INVALIDPARAM);
    Advance(800);
    EXPECT_NE(Read(RingBytes - BlockBytes / 2, BlockBytes / 2), before);
    // The rest of the ring never lost its place.
    DWORD captured = 0;
    DWORD readable = 0;
    Buffer->GetCurrentPosition(&captured, &readable);
    const std::uint64_t now = std::uint64_t{3100} * 22050 / 1000;
    const std::uint64_t behind = (captured + RingBytes - readable) % RingBytes / 4;
    ExpectRamp(Read((readable + RingBytes - BlockBytes) % RingBytes, BlockBytes),
               now - behind - BlockFrames);
}

TEST_F(DirectSoundTest, WithoutLoopingItStopsAtTheEnd) {
    ASSERT_EQ(OpenBuffer(2 * BlockBytes), DS_OK);
    ASSERT_EQ(SetPlaces({{DSBPN_OFFSETSTOP, Events[0]}}), DS_OK);
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(Buffer->Start(0), DS_OK);
        DWORD status = 0;
        Buffer->GetStatus(&status);
        EXPECT_EQ(status, DSCBSTATUS_CAPTURING);
        Advance(46);
        EXPECT_EQ(TheEvent(), -1);
        Advance(1);
        EXPECT_EQ(TheEvent(), 0);
        Buffer->GetStatus(&status);
        EXPECT_EQ(status, 0u);
        ExpectRamp(Read(0, 2 * BlockBytes), 0);
        Advance(500);
        EXPECT_EQ(TheEvent(), -1);
        EXPECT_EQ(StatsOf(Mic).Frames, (round + 1u) * 2 * BlockFrames);
    }
}

TEST_F(DirectSoundTest, AnUnpluggedMicrophoneFallsSilent) {
    Begins();
    Advance(100);
    while (TheEvent() != -1) {
    }
    Unplug(Mic);
    Advance(1000);
    EXPECT_EQ(TheEvent(), -1);
    DWORD captured = 0;
    void* part = nullptr;
    EXPECT_EQ(Buffer->GetCurrentPosition(&captured, nullptr), DSERR_NODRIVER);
    EXPECT_EQ(Buffer->Lock(0, 4, &part, &captured, nullptr, nullptr, 0), DSERR_NODRIVER);
    EXPECT_EQ(Buffer->Stop(), DS_OK);
    EXPECT_EQ(Buffer->Start(DSCBSTART_LOOPING), DSERR_NODRIVER);
    IDirectSoundCapture* none = nullptr;
    EXPECT_EQ(Library().Create(nullptr, &none, nullptr), DSERR_NODRIVER);
}

TEST_F(DirectSoundTest, AnExclusiveMicrophoneIsForOneWhicheverWayItIsOpened) {
    Unplug(Mic);
    AddMicrophone({.Name = "Own", .Exclusive = true});
    ASSERT_EQ(OpenBuffer(), DS_OK);
    IDirectSoundCapture* second = nullptr;
    EXPECT_EQ(Library().Create(nullptr, &second, nullptr), DSERR_ALLOCATED);
    HWAVEIN wave = nullptr;
    const WAVEFORMATEX format = sound::Wave(22050, 2, 16);
    EXPECT_EQ(waveInOpen(&wave, 0, &format, 0, 0, 0), MMSYSERR_ALLOCATED);
    Capture->Release(); // the buffer still holds it
    Capture = nullptr;
    EXPECT_EQ(waveInOpen(&wave, 0, &format, 0, 0, 0), MMSYSERR_ALLOCATED);
    Release();
    EXPECT_EQ(waveInOpen(&wave, 0, &format, 0, 0, 0), MMSYSERR_NOERROR);
    waveInClose(wave);
}

// Both ways at once, one of them started later: what sounds at a moment is the same for both.
TEST_F(DirectSoundTest, HearsTheSameAsWaveIn) {
    const sound::TempFile file("tune.wav");
    sound::WriteSound(file.Path(), 0x010002, 22050, 2, 22050, [](std::uint64_t f, unsigned c) {
        return static_cast<float>(sound::RampSample(f, c)) / 32768.0f;
    });
    const FileFeed fed = FeedFile(Mic, file.Path(), 50);
    ASSERT_EQ(fed.Error, "");
    EXPECT_EQ(fed.Frames, 22050u);
    HWAVEIN wave = nullptr;
    const WAVEFORMATEX format = sound::Wave(22050, 2, 16);
    ASSERT_EQ(waveInOpen(&wave, 0, &format, 0, 0, 0), MMSYSERR_NOERROR);
    std::vector<char> data(8192 * 4);
    WAVEHDR header = {};
    header.lpData = data.data();
    header.dwBufferLength = static_cast<DWORD>(data.size());
    waveInPrepareHeader(wave, &header, sizeof header);
    waveInAddBuffer(wave, &header, sizeof header);
    waveInStart(wave);
    Advance(100);
    Begins();
    Advance(400);
    ASSERT_NE(header.dwFlags & WHDR_DONE, 0u);
    const auto waveWords = sound::Words(data.data(), data.size());
    const auto dxWords = Read(0, 5000 * 4);
    for (std::size_t i = 0; i < dxWords.size(); ++i)
        ASSERT_EQ(dxWords[i], waveWords[2205 * 2 + i]) << i;
    // 50 ms of lead are 1,102.5 frames, rounded up.
    for (std::size_t i = 0; i < 1103 * 2; ++i) ASSERT_EQ(waveWords[i], 0) << i;
    ExpectRamp({waveWords.begin() + 1103 * 2, waveWords.end()}, 0);
    EXPECT_FALSE(StatsOf(Mic).Ended);
    Advance(700);
    const CaptureStats stats = StatsOf(Mic);
    EXPECT_TRUE(stats.Ended);
    EXPECT_EQ(stats.FileFrames, 22050u);
    EXPECT_EQ(stats.OriginMicroseconds, Begin * 1000u);
    waveInReset(wave);
    waveInUnprepareHeader(wave, &header, sizeof header);
    waveInClose(wave);
}

} // namespace
