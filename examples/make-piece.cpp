// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Writes examples/piece.mid: a canon over a ground bass in D, after Johann Pachelbel (1653-1706),
// for three violins, cello, harpsichord and strings. About three and a half minutes, seven tracks.
//
//   make-piece FILE.mid
//
// For tests of players: several tracks and programs, tempo changes, a change of metre, controllers,
// pedal and pitch bend, and about nine thousand messages.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int Quarter = 480;
constexpr int Bar = 4 * Quarter;
constexpr int Repeat = 2 * Bar; // one repetition of the ground bass

using Bytes = std::vector<unsigned char>;

// One track. Messages are added in any order and written sorted by time; at equal times note offs
// come first and the others keep their order.
class Track {
public:
    void Add(int tick, Bytes message) {
        const bool ends = (message[0] & 0xF0) == 0x80;
        Events.push_back({tick * 2 + (ends ? 0 : 1), std::move(message)});
    }
    void Text(int kind, const std::string& text) {
        Bytes message = {0xFF, static_cast<unsigned char>(kind),
                         static_cast<unsigned char>(text.size())};
        message.insert(message.end(), text.begin(), text.end());
        Add(0, message);
    }
    Bytes Chunk() {
        std::stable_sort(Events.begin(), Events.end(),
                         [](const Event& a, const Event& b) { return a.Order < b.Order; });
        Bytes body;
        int last = 0;
        for (const Event& event : Events) {
            const int tick = event.Order / 2;
            AppendLength(body, tick - last);
            body.insert(body.end(), event.Message.begin(), event.Message.end());
            last = tick;
        }
        for (const int byte : {0, 0xFF, 0x2F, 0}) body.push_back(static_cast<unsigned char>(byte));
        return body;
    }

private:
    struct Event {
        int Order; // twice the tick, plus one except for note offs
        Bytes Message;
    };
    static void AppendLength(Bytes& body, int value) {
        int shift = 21;
        while (shift > 0 && (value >> shift) == 0) shift -= 7;
        for (; shift >= 0; shift -= 7) {
            body.push_back(
                static_cast<unsigned char>((value >> shift & 0x7F) | (shift > 0 ? 0x80 : 0)));
        }
    }

    std::vector<Event> Events;
};

// One instrument on one channel of a track.
class Part {
public:
    Part(Track& track, int channel, const std::string& name, int program, int volume, int pan)
        : Target(track), Channel(channel) {
        Target.Text(3, name);
        Message(0, 0xC0, program);
        Message(0, 0xB0, 7, volume);
        Message(0, 0xB0, 10, pan);
        Message(0, 0xE0, 0, 64);
    }
    void Message(int tick, int status, int first, int second = -1) {
        Bytes bytes = {static_cast<unsigned char>(status | Channel),
                       static_cast<unsigned char>(first)};
        if (second >= 0) bytes.push_back(static_cast<unsigned char>(second));
        Target.Add(tick, bytes);
    }
    void Note(int tick, int length, int note, int velocity) {
        Message(tick, 0x90, note, velocity);
        Message(tick + length - std::max(4, length / 16), 0x80, note, 64);
    }
    // Vibrato on a long note, by pitch bends around the centre.
    void Vibrato(int tick, int length) {
        for (int offset = Quarter / 2; offset < length - Quarter / 8; offset += Quarter / 16) {
            const double bend = 260 * std::sin(offset * 2 * 3.14159265 / (Quarter * 0.3));
            const int value = 8192 + static_cast<int>(std::lround(bend));
            Message(tick + offset, 0xE0, value & 127, value >> 7);
        }
        Message(tick + length - 1, 0xE0, 0, 64);
    }
    // Moves the expression controller from first to last.
    void Swell(int tick, int length, int first, int last) {
        constexpr int Steps = 24;
        for (int step = 0; step <= Steps; ++step) {
            Message(tick + length * step / Steps, 0xB0, 11, first + (last - first) * step / Steps);
        }
    }

private:
    Track& Target;
    int Channel;
};

struct Tone {
    int Note; // 0 for a rest
    int Length;
};

int NoteNumber(const std::string& name) {
    static constexpr int Steps[] = {9, 11, 0, 2, 4, 5, 7}; // A to G
    int note = Steps[name[0] - 'A'];
    if (name[1] == '#') ++note;
    return note + 12 * (name.back() - '0' + 1);
}

// Parses notes and rests such as "/8 D5 R C#5": "/8" sets the length to an eighth, "/8." to a
// dotted one.
std::vector<Tone> Parse(const std::string& line) {
    std::vector<Tone> tones;
    std::istringstream words(line);
    int length = Quarter;
    for (std::string word; words >> word;) {
        if (word[0] == '/') {
            const bool dotted = word.back() == '.';
            length = 4 * Quarter / std::stoi(word.substr(1));
            if (dotted) length += length / 2;
        } else {
            tones.push_back({word == "R" ? 0 : NoteNumber(word), length});
        }
    }
    return tones;
}

// The violins' melody, one line per repetition of the ground bass.
const std::vector<std::string> Rounds = {
    "/4 F#5 E5 D5 C#5 B4 A4 B4 C#5",
    "/4 D5 C#5 B4 A4 G4 F#4 G4 E4",
    "/8 D4 F#4 A4 G4 F#4 D4 F#4 E4 D4 B3 D4 A4 G4 B4 A4 G4",
    "/8 F#4 D4 E4 C#5 D5 F#5 A5 A4 B4 G4 A4 F#4 D4 D5 /8. D5 /16 C#5",
    // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one text on two lines
    "/16 D5 C#5 D5 D4 C#4 A4 E4 F#4 D4 D5 C#5 B4 C#5 F#5 A5 B5 G5 F#5 E5 G5 F#5 E5 D5 C#5 "
    "B4 A4 G4 F#4 E4 G4 F#4 E4",
    "/16 D4 E4 F#4 G4 A4 E4 A4 G4 F#4 B4 A4 G4 A4 G4 F#4 E4 D4 B3 B4 C#5 D5 C#5 B4 A4 "
    "G4 F#4 E4 B4 A4 B4 A4 G4",
    "/8 F#4 F#5 E5 R R D5 F#5 R R B4 A4 R R B4 E5 R",
    "/8 R F#5 /16 F#5 G5 F#5 E5 /8 R D5 /16 D5 E5 D5 C#5 /8 R B4 /16 B4 D5 C#5 A4 /8 R D5 "
    "/16 G4 B4 A4 C#5",
    "/16 A5 /32 F#5 G5 /16 A5 /32 F#5 G5 A5 A4 B4 C#5 D5 E5 F#5 G5 "
    "/16 F#5 /32 D5 E5 /16 F#5 /32 F#4 G4 A4 B4 A4 G4 A4 F#4 G4 A4 "
    "/16 G4 /32 B4 A4 /16 G4 /32 F#4 E4 F#4 E4 D4 E4 F#4 G4 A4 B4 "
    "/16 G4 /32 B4 A4 /16 B4 /32 C#5 D5 A4 B4 C#5 D5 E5 F#5 G5 A5",
    "/16 F#5 /32 D5 E5 /16 F#5 /32 E5 D5 E5 C#5 D5 E5 F#5 E5 D5 C#5 "
    "/16 D5 /32 B4 C#5 /16 D5 /32 D4 E4 F#4 G4 F#4 E4 F#4 D5 C#5 D5 "
    "/16 B4 /32 D5 C#5 /16 B4 /32 A4 G4 A4 G4 F#4 G4 A4 B4 C#5 D5 "
    "/16 B4 /32 D5 C#5 /16 D5 /32 C#5 B4 C#5 D5 E5 D5 C#5 D5 B4 C#5",
    "/4 D5 /8 R D5 /4 C#5 /8 R C#5 /4 B4 /8 R B4 /4 D5 /8 R C#5",
    "/8 D5 D6 C#6 C#5 B4 B5 A5 A4 G4 G5 F#5 F#4 E4 B4 E4 E5",
    "/8. F#5 /16 F#5 /8 F#5 G5 F#5 E5 /8. D5 /16 D5 /8 D5 E5 D5 C#5 B4 D5 /16 D5 C#5 B4 C#5",
    "/16 D5 D4 E4 D4 C#4 C#5 D5 C#5 B4 B3 C#4 B3 C#4 A4 G4 A4 B4 B3 C#4 B3 A3 A4 G4 A4 "
    "B4 B3 A3 B3 C#4 C#5 B4 C#5",
    "/2 A5 F#5 /4 G5 F#5 E5 /8 G5 E5",
    "/8. D5 /16 E5 /8. F#5 /16 E5 /8. D5 /16 B4 /8. C#5 /16 A4 /8. B4 /16 D5 /8. D5 /16 A4 "
    "/8. B4 /16 D5 /8. C#5 /16 E5",
    "/32 D5 E5 F#5 E5 D5 E5 F#5 D5 C#5 D5 E5 D5 C#5 D5 E5 C#5 B4 C#5 D5 C#5 B4 C#5 D5 B4 "
    "A4 B4 C#5 B4 A4 B4 C#5 A4 G4 A4 B4 A4 G4 A4 B4 G4 F#4 G4 A4 G4 F#4 G4 A4 F#4 "
    "G4 A4 B4 A4 G4 A4 B4 G4 E4 G4 A4 B4 C#5 D5 E5 C#5",
    "/4 F#5 /8 F#5 G5 A5 G5 F#5 E5 /4 D5 /8 D5 C#5 B4 D5 C#5 E5",
    "/2 F#5 E5 D5 C#5",
    "/4 D5 A4 B4 F#4 G4 D5 /2 C#5",
};

bool RoundsAreWhole() {
    bool whole = true;
    for (std::size_t i = 0; i < Rounds.size(); ++i) {
        int length = 0;
        for (const Tone& tone : Parse(Rounds[i])) length += tone.Length;
        if (length == Repeat) continue;
        std::fprintf(stderr, "make-piece: round %zu is not two bars long\n", i + 1);
        whole = false;
    }
    return whole;
}

struct Chord {
    int Bass;
    int Tones[3];
};
// D, A, B minor, F sharp minor, G, D, G, A; a quarter note each.
constexpr Chord Ground[8] = {{50, {62, 66, 69}}, {45, {61, 64, 69}}, {47, {59, 62, 66}},
                             {42, {57, 61, 66}}, {43, {59, 62, 67}}, {38, {57, 62, 66}},
                             {43, {59, 62, 67}}, {45, {57, 61, 64}}};
constexpr int Violins = 3;
const int Pieces = static_cast<int>(Rounds.size());
const int GroundRounds =
    1 + Pieces + Violins - 1; // first the bass alone; each further violin enters one later
const int End = GroundRounds * Repeat;

void Conduct(Track& track) {
    track.Text(3, "Canon in D, after Johann Pachelbel");
    track.Text(2, "The music is in the public domain; this setting: MIT licence");
    track.Add(0, {0xFF, 0x58, 4, 4, 2, 24, 8});
    const auto tempo = [&](int tick, double beats) {
        const int length = static_cast<int>(std::lround(60e6 / beats));
        track.Add(tick, {0xFF, 0x51, 3, static_cast<unsigned char>(length >> 16),
                         static_cast<unsigned char>(length >> 8 & 255),
                         static_cast<unsigned char>(length & 255)});
    };
    for (int round = 0; round < GroundRounds; ++round) {
        tempo(round * Repeat, 52 + std::min(round, 12)); // gets faster
    }
    for (int step = 0; step < 8; ++step) { // slows down at the end
        tempo(End - Bar + step * Quarter / 2, 60 - 3 * step);
    }
    track.Add(End, {0xFF, 0x58, 4, 2, 1, 24, 8}); // one bar of 2/2 for the last chord
    tempo(End, 40);
}

void PlayViolin(Part& part, int entry) {
    int tick = entry;
    for (int round = 0; round < Pieces; ++round) {
        part.Swell(tick, Bar, 84, 112);
        part.Swell(tick + Bar, Bar - 1, 112, 84);
        for (const Tone& tone : Parse(Rounds[static_cast<std::size_t>(round)])) {
            const int accent = (tick % Bar == 0) ? 12 : (tick % Quarter == 0) ? 6 : 0;
            if (tone.Note) {
                part.Note(tick, tone.Length, tone.Note, 72 + accent + round % 4 * 3);
                if (tone.Length >= Quarter) part.Vibrato(tick, tone.Length);
            }
            tick += tone.Length;
        }
    }
    for (; tick < End; tick += Repeat) { // violins that have finished hold the harmony
        for (int beat = 0; beat < 8; beat += 2) {
            part.Note(tick + beat * Quarter, 2 * Quarter, Ground[beat].Tones[2] + 12, 58);
        }
    }
}

void PlayGround(Part& cello, Part& harpsichord, Part& strings) {
    for (int beat = 0; beat < GroundRounds * 8; ++beat) {
        const int tick = beat * Quarter;
        const Chord& chord = Ground[beat % 8];
        cello.Note(tick, Quarter, chord.Bass, beat % 4 == 0 ? 84 : 74);
        if (beat < 8) continue;
        const int* tones = chord.Tones;
        const int broken[4] = {tones[0], tones[1], tones[2], tones[1]};
        for (int i = 0; i < 4; ++i) {
            harpsichord.Note(tick + i * Quarter / 4, Quarter / 4, broken[i], i == 0 ? 62 : 50);
        }
        if (beat < 48) continue;
        strings.Message(tick + 2, 0xB0, 64, 127); // the pedal connects the chords
        for (const int note : chord.Tones) strings.Note(tick, Quarter, note, 40);
        strings.Message(tick + Quarter - 1, 0xB0, 64, 0);
    }
}

bool Save(const char* path, std::vector<Track>& tracks) {
    Bytes file = {'M',
                  'T',
                  'h',
                  'd',
                  0,
                  0,
                  0,
                  6,
                  0,
                  1,
                  0,
                  static_cast<unsigned char>(tracks.size()),
                  Quarter >> 8,
                  Quarter & 255};
    for (Track& track : tracks) {
        const Bytes body = track.Chunk();
        const auto size = static_cast<std::uint32_t>(body.size());
        for (const char letter : {'M', 'T', 'r', 'k'}) {
            file.push_back(static_cast<unsigned char>(letter));
        }
        for (const int shift : {24, 16, 8, 0}) {
            file.push_back(static_cast<unsigned char>(size >> shift & 255));
        }
        file.insert(file.end(), body.begin(), body.end());
    }
    std::FILE* out = std::fopen(path, "wb");
    if (!out) return false;
    const bool written = std::fwrite(file.data(), 1, file.size(), out) == file.size();
    return std::fclose(out) == 0 && written;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: make-piece FILE.mid\n");
        return 2;
    }
    if (!RoundsAreWhole()) return 1;
    std::vector<Track> tracks(7);
    Conduct(tracks[0]);
    std::vector<Part> violins;
    for (int i = 0; i < Violins; ++i) {
        violins.emplace_back(tracks[static_cast<std::size_t>(1 + i)], i,
                             "Violin " + std::to_string(i + 1), 40, 104, 32 + 32 * i);
        PlayViolin(violins.back(), (1 + i) * Repeat);
        violins.back().Note(End, 4 * Quarter, Ground[0].Tones[i] + 12, 70);
        violins.back().Vibrato(End, 4 * Quarter);
    }
    Part cello(tracks[4], 3, "Cello", 42, 100, 72);
    Part harpsichord(tracks[5], 4, "Harpsichord", 6, 80, 52);
    Part strings(tracks[6], 5, "Strings", 48, 64, 64);
    PlayGround(cello, harpsichord, strings);
    cello.Note(End, 4 * Quarter, 38, 80);
    harpsichord.Note(End, 4 * Quarter, 62, 60);
    strings.Note(End, 4 * Quarter, 66, 44);
    if (!Save(arguments[1], tracks)) {
        std::fprintf(stderr, "make-piece: \"%s\" cannot be written\n", arguments[1]);
        return 1;
    }
    return 0;
}
