// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The exported functions.
#include "zorhearing/zorhearing.h"

#include "hearing/pitch.h"
#include "zorhearing/documents.h"
#include "zorhearing/listener_table.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

namespace {

using namespace zorhearing;

thread_local const char* LastReason = "";

std::int32_t Fail(std::int32_t code, const char* reason) {
    LastReason = reason;
    return code;
}

// Runs work(listener) if the calling thread can use the listener. No exception leaves it.
template <class Work>
std::int32_t With(ZorListener number, Work work) noexcept {
    ListenerUse listener(number);
    if (listener.Result() == Access::NoListener)
        return Fail(ZOR_HEAR_NO_LISTENER, "The listener is not open.");
    if (listener.Result() == Access::Busy)
        return Fail(ZOR_HEAR_BUSY, "Another thread is using the listener.");
    try {
        return work(listener);
    } catch (const std::bad_alloc&) {
        return Fail(ZOR_HEAR_NO_MEMORY, "There is not enough memory for the sound.");
    }
}

// Runs make(), which returns bytes or text, and copies it with its terminator of `zeros` bytes.
template <class Make>
std::int64_t Copy(void* target, std::size_t size, std::size_t zeros, Make make) noexcept {
    if (!target && size > 0) return Fail(ZOR_HEAR_BAD_VALUE, "The buffer is a null pointer.");
    try {
        const auto data = make();
        if (data.size() + zeros <= size) {
            std::memcpy(target, data.data(), data.size());
            std::memset(static_cast<char*>(target) + data.size(), 0, zeros);
        }
        return static_cast<std::int64_t>(data.size());
    } catch (const BadValue& error) {
        return Fail(ZOR_HEAR_BAD_VALUE, error.Reason);
    } catch (const std::exception&) {
        return Fail(ZOR_HEAR_NO_MEMORY, "There is not enough memory for the notes.");
    }
}

constexpr const char* NoNotes = "The notes are a null pointer.";

ZorHearNote Convert(const hearing::Note& note, double tuning) {
    ZorHearNote result = {};
    result.Onset = std::max(note.Onset, 0.0);
    result.End = note.End;
    result.Pitch = note.Pitch;
    result.Key = hearing::KeyOf(note.Pitch, tuning);
    result.Cents = (note.Pitch - tuning - result.Key) * 100;
    result.Confidence = note.Confidence;
    result.Velocity = std::clamp(note.Level, 1, 127);
    result.Open = note.Open;
    return result;
}

} // namespace

const char* ZORHEARCALL ZorHearVersion(void) noexcept { return ZORHEARING_VERSION; }

const char* ZORHEARCALL ZorHearError(void) noexcept { return LastReason; }

ZorListener ZORHEARCALL ZorHearOpen(std::int32_t rate, std::int32_t channels,
                                    std::int32_t sampleFormat, std::int32_t mode) noexcept {
    if (rate < 8000 || rate > 192000)
        return Fail(ZOR_HEAR_BAD_VALUE, "The rate is not 8000 to 192000 Hz.");
    if (channels < 1 || channels > 64)
        return Fail(ZOR_HEAR_BAD_VALUE, "The number of channels is not 1 to 64.");
    if (sampleFormat != ZOR_HEAR_INT16 && sampleFormat != ZOR_HEAR_FLOAT32)
        return Fail(ZOR_HEAR_BAD_VALUE, "The sample format is neither INT16 nor FLOAT32.");
    if (mode != ZOR_HEAR_TAKE && mode != ZOR_HEAR_LIVE)
        return Fail(ZOR_HEAR_BAD_VALUE, "The mode is neither TAKE nor LIVE.");
    try {
        const SoundFormat format = {rate, static_cast<std::size_t>(channels),
                                    sampleFormat == ZOR_HEAR_FLOAT32};
        const auto number = AddListener(
            std::make_unique<Listener>(format, mode == ZOR_HEAR_LIVE ? Mode::Live : Mode::Take));
        return number > 0 ? number
                          : Fail(ZOR_HEAR_NO_MEMORY, "There are 65,536 open listeners already.");
    } catch (const std::exception&) {
        return Fail(ZOR_HEAR_NO_MEMORY, "There is not enough memory for a listener.");
    }
}

std::int32_t ZORHEARCALL ZorHearSetTuning(ZorListener number, double cents) noexcept {
    return With(number, [cents](ListenerUse& listener) {
        if (!(cents >= -50 && cents <= 50))
            return Fail(ZOR_HEAR_BAD_VALUE, "The tuning is not -50 to 50 cents.");
        if (listener->HasSamples())
            return Fail(ZOR_HEAR_WRONG_TIME, "The tuning is set before the first sample.");
        listener->SetTuning(cents / 100);
        return 0;
    });
}

double ZORHEARCALL ZorHearTuning(ZorListener number) noexcept {
    double cents = 0;
    With(number, [&cents](ListenerUse& listener) {
        cents = listener->Tuning() * 100;
        return 0;
    });
    return cents;
}

std::int32_t ZORHEARCALL ZorHearFeed(ZorListener number, const void* samples,
                                     std::int32_t count) noexcept {
    return With(number, [samples, count](ListenerUse& listener) {
        if (count < 0) return Fail(ZOR_HEAR_BAD_VALUE, "The number of samples is negative.");
        if (!samples && count > 0)
            return Fail(ZOR_HEAR_BAD_VALUE, "The samples are a null pointer.");
        if (listener->IsFinished())
            return Fail(ZOR_HEAR_WRONG_TIME, "The sound was finished; open another listener.");
        listener->Feed(samples, static_cast<std::size_t>(count));
        return 0;
    });
}

std::int32_t ZORHEARCALL ZorHearFinish(ZorListener number) noexcept {
    return With(number, [](ListenerUse& listener) {
        if (listener->IsFinished())
            return Fail(ZOR_HEAR_WRONG_TIME, "The sound was finished already.");
        listener->Finish();
        return 0;
    });
}

std::int32_t ZORHEARCALL ZorHearNextNote(ZorListener number, ZorHearNote* note) noexcept {
    return With(number, [note](ListenerUse& listener) {
        if (!note) return Fail(ZOR_HEAR_BAD_VALUE, "The note is a null pointer.");
        if (!listener->IsLive() && !listener->IsFinished())
            return Fail(ZOR_HEAR_WRONG_TIME, "A take has notes after ZorHearFinish.");
        const auto next = listener->NextNote();
        if (!next) return 0;
        *note = Convert(*next, listener->Tuning());
        return 1;
    });
}

std::int32_t ZORHEARCALL ZorHearNextFrame(ZorListener number, ZorHearFrame* frame) noexcept {
    return With(number, [frame](ListenerUse& listener) {
        if (!frame) return Fail(ZOR_HEAR_BAD_VALUE, "The frame is a null pointer.");
        if (!listener->IsLive() && !listener->IsFinished())
            return Fail(ZOR_HEAR_WRONG_TIME, "A take has frames after ZorHearFinish.");
        const auto next = listener->NextFrame();
        if (!next) return 0;
        *frame = {next->Frame.Begin, next->Frame.Frequency, next->InputPeak, next->Frame.Level, 0};
        return 1;
    });
}

std::int32_t ZORHEARCALL ZorHearClose(ZorListener number) noexcept {
    return RemoveListener(number) ? 0 : Fail(ZOR_HEAR_NO_LISTENER, "The listener is not open.");
}

std::int64_t ZORHEARCALL ZorHearMusicXml(const ZorHearNote* notes, std::size_t noteCount,
                                         const ZorHearScoreOptions* options, char* text,
                                         std::size_t size) noexcept {
    if (!notes) return Fail(ZOR_HEAR_BAD_VALUE, NoNotes);
    ZorHearScoreOptions none = {};
    none.Pickup = -1;
    return Copy(text, size, 1, [&] {
        return MusicXml({notes, noteCount}, options ? *options : none);
    });
}

std::int64_t ZORHEARCALL ZorHearMidiFile(const ZorHearNote* notes, std::size_t noteCount,
                                         double quartersPerMinute, std::uint8_t* bytes,
                                         std::size_t size) noexcept {
    if (!notes) return Fail(ZOR_HEAR_BAD_VALUE, NoNotes);
    return Copy(bytes, size, 0, [&] { return MidiFile({notes, noteCount}, quartersPerMinute); });
}
