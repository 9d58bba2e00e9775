// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/windows/sound/media_foundation.h"

#include "host/terminal/host_error.h"
#include "host/windows/sound/samples.h"

#include <algorithm>
#include <vector>

// Defines the identifiers below in this file.
#include <initguid.h>
#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <mfreadwrite.h>

namespace zorhost {

namespace {

constexpr DWORD Sound = MF_SOURCE_READER_FIRST_AUDIO_STREAM;

struct Release {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <class Interface>
using Owned = std::unique_ptr<Interface, Release>;

template <class Function>
Function* Find(const char* library, const char* name) {
    const HMODULE module = LoadLibraryA(library);
    void* const address = module ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
    return reinterpret_cast<Function*>(address);
}

// Stays loaded and started until the program ends.
struct MediaFoundation {
    decltype(MFCreateMediaType)* CreateMediaType =
        Find<decltype(MFCreateMediaType)>("mfplat.dll", "MFCreateMediaType");
    decltype(MFCreateSourceReaderFromURL)* CreateReader =
        Find<decltype(MFCreateSourceReaderFromURL)>("mfreadwrite.dll",
                                                    "MFCreateSourceReaderFromURL");
    bool Started = false;

    MediaFoundation() {
        const auto initialize = Find<decltype(CoInitializeEx)>("ole32.dll", "CoInitializeEx");
        const auto start = Find<decltype(MFStartup)>("mfplat.dll", "MFStartup");
        Started = CreateMediaType && CreateReader && initialize && start &&
                  SUCCEEDED(initialize(nullptr, COINIT_MULTITHREADED)) &&
                  SUCCEEDED(start(MF_VERSION, MFSTARTUP_LITE));
    }
};

const MediaFoundation& System() {
    static const MediaFoundation system;
    return system;
}

UINT32 NumberOf(IMFMediaType& type, const GUID& attribute) {
    UINT32 value = 0;
    return SUCCEEDED(type.GetUINT32(attribute, &value)) ? value : 0;
}

// path: in the code page of the C library.
std::wstring Wide(const std::string& path) {
    std::wstring wide(path.size() + 1, L'\0');
    MultiByteToWideChar(CP_ACP, 0, path.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

class MediaDecoder : public SoundDecoder {
public:
    explicit MediaDecoder(const std::string& path) : Path(path), WidePath(Wide(path)) {
        if (!System().Started)
            Fail("it is no WAV file, and this Windows has no Media Foundation, which reads other "
                 "files. Install the Media Feature Pack, or convert the file to WAV");
        const HRESULT opened = Open();
        if (opened == MF_E_INVALIDSTREAMNUMBER || (SUCCEEDED(opened) && Chunk.empty()))
            throw HostError("\"" + path + "\" contains no sound");
        if (FAILED(opened))
            Fail("it is no sound file, or of a format that this Windows does not decode. Convert "
                 "it to WAV");
    }

    std::size_t Read(float* frames, std::size_t count) override {
        const std::size_t size = Format.Bytes();
        std::size_t samples = 0;
        while (samples < count * Channels && (Used < Chunk.size() || ReadChunk())) {
            const std::size_t part =
                std::min(count * Channels - samples, (Chunk.size() - Used) / size);
            for (std::size_t i = 0; i < part; ++i)
                frames[samples + i] = Format.Read(Chunk.data() + Used + i * size);
            samples += part;
            Used += part * size;
        }
        return samples / Channels;
    }
    bool Rewind() override { return SUCCEEDED(Open()) && !Chunk.empty(); }
    // The announced length of compressed sound is an estimate, unless it is compressed without
    // loss.
    bool IsTruncated(std::int64_t read) const override {
        return Failed || (Lossless && read < Frames - 1);
    }

private:
    [[noreturn]] void Fail(const std::string& why) const {
        throw HostError("\"" + Path + "\" cannot be read: " + why);
    }

    // Reads the first chunk too, since some decoders find the format with it.
    HRESULT Open() {
        IMFSourceReader* reader = nullptr;
        HRESULT result = System().CreateReader(WidePath.c_str(), nullptr, &reader);
        Reader.reset(reader);
        if (SUCCEEDED(result))
            result = Reader->SetStreamSelection(MF_SOURCE_READER_ALL_STREAMS, FALSE);
        if (SUCCEEDED(result)) result = Reader->SetStreamSelection(Sound, TRUE);
        if (SUCCEEDED(result)) result = ChooseFormat();
        if (FAILED(result)) return result;
        Failed = Ended = false;
        ReadChunk();
        return ReadFormat() ? S_OK : MF_E_INVALIDMEDIATYPE;
    }

    // Floating-point samples, or PCM of a decoder that has no others.
    HRESULT ChooseFormat() {
        IMFMediaType* native = nullptr;
        HRESULT result = Reader->GetNativeMediaType(Sound, 0, &native);
        if (FAILED(result)) return result;
        const Owned<IMFMediaType> type(native);
        GUID kind = {};
        type->GetGUID(MF_MT_SUBTYPE, &kind);
        const auto losslessTags = {WAVE_FORMAT_PCM, WAVE_FORMAT_IEEE_FLOAT, 0x6C61, 0xF1AC};
        Lossless = std::find(losslessTags.begin(), losslessTags.end(),
                             static_cast<int>(kind.Data1)) != losslessTags.end();
        for (const GUID& wanted : {MFAudioFormat_Float, MFAudioFormat_PCM}) {
            IMFMediaType* made = nullptr;
            if (result = System().CreateMediaType(&made); FAILED(result)) return result;
            const Owned<IMFMediaType> output(made);
            output->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio);
            output->SetGUID(MF_MT_SUBTYPE, wanted);
            result = Reader->SetCurrentMediaType(Sound, nullptr, output.get());
            if (SUCCEEDED(result)) return result;
        }
        return result;
    }

    // Stores the format of the decoded samples and the length. False if it is none that is read.
    bool ReadFormat() {
        IMFMediaType* current = nullptr;
        if (FAILED(Reader->GetCurrentMediaType(Sound, &current))) return false;
        const Owned<IMFMediaType> type(current);
        GUID kind = {};
        type->GetGUID(MF_MT_SUBTYPE, &kind);
        Format.Floats = kind == MFAudioFormat_Float;
        Format.Bits = static_cast<int>(NumberOf(*type, MF_MT_AUDIO_BITS_PER_SAMPLE));
        Channels = NumberOf(*type, MF_MT_AUDIO_NUM_CHANNELS);
        Rate =
            static_cast<int>(std::min(NumberOf(*type, MF_MT_AUDIO_SAMPLES_PER_SECOND), 1000001u));
        PROPVARIANT length = {};
        Reader->GetPresentationAttribute(static_cast<DWORD>(MF_SOURCE_READER_MEDIASOURCE),
                                         MF_PD_DURATION, &length);
        const double units = static_cast<double>(length.uhVal.QuadPart); // of 100 ns
        Frames = static_cast<std::int64_t>(units * 1e-7 * Rate + 0.5);
        return Format.IsKnown() && Channels >= 1 && Channels <= 1024 && Rate >= 1000 &&
               Rate <= 1000000;
    }

    // Replaces the chunk by the next. False at the end, which is early if Failed.
    bool ReadChunk() {
        Chunk.clear();
        Used = 0;
        while (Chunk.empty() && !Ended) {
            DWORD flags = 0;
            IMFSample* next = nullptr;
            const HRESULT result = Reader->ReadSample(Sound, 0, nullptr, &flags, nullptr, &next);
            const Owned<IMFSample> sample(next);
            const bool changed =
                (flags & MF_SOURCE_READERF_CURRENTMEDIATYPECHANGED) != 0 && HasOtherFormat();
            Failed = FAILED(result) || changed || (flags & MF_SOURCE_READERF_ERROR) != 0;
            Ended = Failed || (flags & MF_SOURCE_READERF_ENDOFSTREAM) != 0;
            if (sample && !Failed) Append(*sample);
        }
        return !Chunk.empty();
    }
    // Whether the sound goes on with another rate or other channels than at its beginning.
    bool HasOtherFormat() {
        if (Channels == 0) return false; // Open reads the format next
        const int rate = Rate;
        const std::size_t channels = Channels;
        const bool other = !ReadFormat() || Rate != rate || Channels != channels;
        Rate = rate;
        Channels = channels;
        return other;
    }
    void Append(IMFSample& sample) {
        IMFMediaBuffer* contiguous = nullptr;
        if (FAILED(sample.ConvertToContiguousBuffer(&contiguous))) return;
        const Owned<IMFMediaBuffer> buffer(contiguous);
        BYTE* bytes = nullptr;
        DWORD size = 0;
        if (FAILED(buffer->Lock(&bytes, nullptr, &size))) return;
        Chunk.assign(bytes, bytes + size);
        buffer->Unlock();
    }

    std::string Path;
    std::wstring WidePath;
    Owned<IMFSourceReader> Reader;
    SampleFormat Format;
    bool Lossless = false;
    bool Ended = false;
    bool Failed = false;
    std::vector<std::uint8_t> Chunk; // decoded sound
    std::size_t Used = 0;            // bytes of it
};

} // namespace

std::unique_ptr<SoundDecoder> OpenWithMediaFoundation(const std::string& path) {
    return std::make_unique<MediaDecoder>(path);
}

} // namespace zorhost
