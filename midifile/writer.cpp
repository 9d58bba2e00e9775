// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "midifile/writer.h"

#include "midi/status.h"
#include "midifile/warnings.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

namespace midifile {

namespace {

constexpr std::int64_t LongestDelta = 0x0FFFFFFF;

void Append(Bytes& target, ByteSpan more) { target.insert(target.end(), more.begin(), more.end()); }

// Appends a fixed-length number, most significant byte first.
void AppendNumber(Bytes& target, std::size_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        target.push_back(static_cast<unsigned char>(value >> shift & 255));
    }
}

} // namespace

// Appends a variable-length number: 7 bits per byte, with the high bit set in all bytes but the
// last. value: below 2^28.
void TrackWriter::AddNumber(std::uint32_t value) {
    for (int shift = 21; shift > 0; shift -= 7) {
        if (value >> shift) {
            Encoded.push_back(static_cast<unsigned char>((value >> shift & 127) | 128));
        }
    }
    Encoded.push_back(static_cast<unsigned char>(value & 127));
}

// A pause longer than the greatest delta time is divided by empty text events.
void TrackWriter::AddDelta(std::int64_t tick) {
    static constexpr unsigned char emptyText[] = {MetaStatus, MetaText, 0};
    for (; tick - PreviousTick > LongestDelta; PreviousTick += LongestDelta) {
        AddNumber(LongestDelta);
        Append(Encoded, emptyText);
    }
    AddNumber(static_cast<std::uint32_t>(std::max<std::int64_t>(0, tick - PreviousTick)));
    PreviousTick = std::max(PreviousTick, tick);
}

void TrackWriter::Add(std::int64_t tick, ByteSpan message) {
    AddDelta(tick);
    Append(Encoded, message);
}

void TrackWriter::AddMeta(std::int64_t tick, std::uint8_t type, ByteSpan data) {
    AddDelta(tick);
    Encoded.push_back(MetaStatus);
    Encoded.push_back(type);
    AddNumber(static_cast<std::uint32_t>(data.size()));
    Append(Encoded, data);
}

void TrackWriter::AddText(std::int64_t tick, std::uint8_t type, std::string_view text) {
    AddMeta(tick, type, Bytes(text.begin(), text.end()));
}

void TrackWriter::Add(std::int64_t tick, const TrackEvent& event) {
    if (event.Status == MetaStatus) return AddMeta(tick, event.Type, event.Data);
    AddDelta(tick);
    Encoded.push_back(event.Status);
    if (event.Status >= midi::FirstSystemStatus)
        AddNumber(static_cast<std::uint32_t>(event.Data.size()));
    Append(Encoded, event.Data);
}

ByteSpan EndOfTrack() {
    static constexpr unsigned char bytes[] = {0, MetaStatus, MetaEndOfTrack, 0};
    return bytes;
}

Bytes TrackHeader(std::size_t size) {
    Bytes header = {'M', 'T', 'r', 'k'};
    AppendNumber(header, size, 4);
    return header;
}

Bytes FileHeader(int format, std::size_t tracks, int ticks) {
    Bytes header = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, static_cast<unsigned char>(format)};
    AppendNumber(header, tracks, 2);
    AppendNumber(header, static_cast<std::size_t>(ticks), 2);
    return header;
}

Bytes Write(const std::vector<TrackWriter>& tracks, int ticks) {
    Bytes file = FileHeader(tracks.size() == 1 ? 0 : 1, tracks.size(), ticks);
    for (const TrackWriter& track : tracks) {
        const std::size_t size = track.Body().size() + EndOfTrack().size();
        if (size > std::numeric_limits<std::uint32_t>::max()) throw Error("would be too long");
        Append(file, TrackHeader(size));
        Append(file, track.Body());
        Append(file, EndOfTrack());
    }
    return file;
}

// Merges the two lists by tick, meters first.
void AddMap(TrackWriter& track, const TempoMap& map, int percent) {
    const std::vector<Tempo> tempos = map.Tempos();
    const std::vector<Meter> meters = map.Meters();
    auto tempo = tempos.begin();
    for (auto meter = meters.begin(); tempo != tempos.end() || meter != meters.end();) {
        if (tempo == tempos.end() || (meter != meters.end() && meter->Tick <= tempo->Tick)) {
            const auto unit = static_cast<unsigned>(meter->BeatUnit);
            // Numerator, denominator as a power of two, MIDI clocks per metronome click, 32nd notes
            // per quarter note.
            const Bytes data = {static_cast<unsigned char>(meter->Beats),
                                static_cast<unsigned char>(std::countr_zero(unit)), 24, 8};
            track.AddMeta(meter->Tick, MetaMeter, data);
            ++meter;
        } else {
            const std::int64_t scaled = std::int64_t{tempo->MicrosecondsPerQuarter} * 100 / percent;
            Bytes data;
            AppendNumber(data,
                         std::clamp<std::size_t>(static_cast<std::size_t>(scaled), 1, 0xFFFFFF), 3);
            track.AddMeta(tempo->Tick, MetaTempo, data);
            ++tempo;
        }
    }
}

} // namespace midifile
