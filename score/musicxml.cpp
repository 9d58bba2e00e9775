// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/score.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <tuple>

namespace score {

namespace {

// A document in the making. Elements are indented by their depth.
class Xml {
public:
    Xml& Open(const std::string& tag) {
        Text += Indent() + "<" + tag + ">\n";
        Names.push_back(tag.substr(0, tag.find(' ')));
        return *this;
    }
    Xml& Close() {
        const std::string name = Names.back();
        Names.pop_back();
        Text += Indent() + "</" + name + ">\n";
        return *this;
    }
    Xml& Add(const std::string& tag, const std::string& value) {
        Text += Indent() + "<" + tag + ">" + Escaped(value) + "</" + tag.substr(0, tag.find(' ')) +
                ">\n";
        return *this;
    }
    Xml& Add(const std::string& tag, int value) { return Add(tag, std::to_string(value)); }
    Xml& Empty(const std::string& tag) {
        Text += Indent() + "<" + tag + "/>\n";
        return *this;
    }

    std::string Text;

private:
    std::string Indent() const { return std::string(Names.size() * 2, ' '); }
    static std::string Escaped(const std::string& text) {
        std::string out;
        for (const char c : text)
            out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
        return out;
    }

    std::vector<std::string> Names;
};

constexpr char XmlHeader[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE score-partwise PUBLIC \"-//Recordare//DTD MusicXML 3.1 Partwise//EN\" "
    "\"http://www.musicxml.org/dtds/partwise.dtd\">\n";

const char* NameOf(const NoteValue& value) {
    return std::find_if(std::begin(NoteTypes), std::end(NoteTypes),
                        [&](const NoteType& type) { return type.Ticks == value.Type; })
        ->Name;
}

// Number of beams or flags.
int BeamsOf(const Symbol& symbol) {
    int count = 0;
    if (!symbol.Notes.empty())
        for (int type = EighthTicks; type >= symbol.Value.Type; type /= 2) ++count;
    return count;
}

const char* AccidentalOf(int alteration) {
    constexpr const char* names[] = {"flat-flat", "flat", "natural", "sharp", "double-sharp"};
    return names[alteration + 2];
}

constexpr char UnsureNote[] = "note color=\"#C04000\"";

// A symbol's place in its bar.
struct Place {
    std::size_t Voice, Index;
};

class Writer {
public:
    explicit Writer(const score::Score& score) : Score(score) {}
    std::string Write(const std::string& title);

private:
    void WriteAttributes(std::size_t bar);
    void WriteClefs();
    void WriteTempo(std::size_t bar);
    void WriteBar(std::size_t bar, std::size_t number);
    void WriteVoice(const Bar& bar, std::size_t voice);
    void WriteSymbol(const Bar& bar, Place place);
    void WriteNote(const Bar& bar, Place place, std::size_t note);
    void WritePitch(const Spelling& pitch);
    void WriteNotations(const Symbol& symbol, bool first);
    void WriteBeams(const Bar& bar, Place place);
    void WriteHook(const Bar& bar, Place place, int level);
    bool IsBeamed(const Bar& bar, Place place, int level) const;
    void FindAccidentals(const Bar& bar);
    int SignatureAlteration(char letter) const;
    int Staff(std::size_t voice) const { return Score.Voices[voice].Staff; }
    const Spelling& Pitch(int note) const { return Score.Pitches[static_cast<std::size_t>(note)]; }

    const score::Score& Score;
    Xml Document;
    score::Key Key;
    std::map<std::pair<std::size_t, int>, bool> Printed; // accidentals: by voice and note
};

void Writer::WriteClefs() {
    for (std::size_t staff = 0; staff < Score.Clefs.size(); ++staff) {
        const Clef& clef = Score.Clefs[staff];
        Document.Open(Score.Clefs.size() > 1 ? "clef number=\"" + std::to_string(staff + 1) + "\""
                                             : "clef");
        Document.Add("sign", std::string(1, clef.Sign)).Add("line", clef.Line);
        if (clef.Octave != 0) Document.Add("clef-octave-change", clef.Octave);
        Document.Close();
    }
}

// What holds from this bar on: in the first one all, later key and time where they change.
void Writer::WriteAttributes(std::size_t bar) {
    const auto key =
        std::find_if(Score.Keys.begin(), Score.Keys.end(), [bar](const KeyChange& change) {
            return change.Bar == static_cast<int>(bar);
        });
    const bool newKey = key != Score.Keys.end();
    const TimeSignature& meter = Score.Bars[bar].Meter;
    const bool newMeter = bar == 0 || Score.Bars[bar - 1].Meter != meter;
    if (newKey) Key = key->Key;
    if (!newKey && !newMeter) return;
    Document.Open("attributes");
    if (bar == 0) Document.Add("divisions", TicksPerQuarter);
    if (newKey)
        Document.Open("key")
            .Add("fifths", Key.Signature())
            .Add("mode", Key.Minor ? "minor" : "major")
            .Close();
    if (newMeter)
        Document.Open("time").Add("beats", meter.Beats).Add("beat-type", meter.BeatType).Close();
    if (bar == 0 && Score.Clefs.size() > 1)
        Document.Add("staves", static_cast<int>(Score.Clefs.size()));
    if (bar == 0) WriteClefs();
    Document.Close();
}

// The metronome mark counts felt beats, the playback tempo quarter notes.
void Writer::WriteTempo(std::size_t bar) {
    const auto& tempos = Score.Rhythm.Tempos;
    const auto tempo = std::find_if(tempos.begin(), tempos.end(), [bar](const TempoChange& change) {
        return change.Bar == static_cast<int>(bar);
    });
    if (tempo == tempos.end()) return;
    const int beat = Score.Bars[bar].Meter.BeatTicks();
    const bool dotted = Score.Bars[bar].Meter.IsCompound();
    const double quarters = tempo->QuartersPerMinute;
    if (bar == 0 && Score.Rhythm.Swing)
        Document.Open("direction placement=\"above\"")
            .Open("direction-type")
            .Add("words", "Swing")
            .Close()
            .Close();
    Document.Open("direction placement=\"above\"").Open("direction-type").Open("metronome");
    Document.Add("beat-unit", beat == HalfTicks     ? "half"
                              : beat == EighthTicks ? "eighth"
                                                    : "quarter");
    if (dotted) Document.Empty("beat-unit-dot");
    Document.Add("per-minute", static_cast<int>(std::lround(quarters * TicksPerQuarter / beat)));
    Document.Close().Close();
    Document.Empty("sound tempo=\"" + std::to_string(std::lround(quarters)) + "\"").Close();
}

// The alteration of a letter by the key signature.
int Writer::SignatureAlteration(char letter) const {
    constexpr char sharps[] = "FCGDAEB";
    const int signature = Key.Signature();
    for (int i = 0; i < std::abs(signature); ++i)
        if (sharps[signature > 0 ? i : 6 - i] == letter) return signature > 0 ? 1 : -1;
    return 0;
}

void Writer::WritePitch(const Spelling& pitch) {
    Document.Open("pitch").Add("step", std::string(1, pitch.Letter));
    if (pitch.Alteration != 0) Document.Add("alter", pitch.Alteration);
    Document.Add("octave", pitch.Octave).Close();
}

// An accidental is written where the alteration differs from the key signature or from the last
// note on the same line or space of the staff in this bar, in the order of time.
void Writer::FindAccidentals(const Bar& bar) {
    Printed.clear();
    std::vector<Place> places;
    for (std::size_t voice = 0; voice < bar.Voices.size(); ++voice)
        for (std::size_t at = 0; at < bar.Voices[voice].size(); ++at) places.push_back({voice, at});
    const auto position = [&](const Place& place) {
        return bar.Voices[place.Voice][place.Index].Position;
    };
    std::stable_sort(places.begin(), places.end(),
                     [&](const Place& a, const Place& b) { return position(a) < position(b); });
    std::map<std::tuple<int, char, int>, int> alterations; // by staff, letter and octave
    for (const auto& [voice, at] : places) {
        const Symbol& symbol = bar.Voices[voice][at];
        for (const int note : symbol.Notes) {
            const Spelling& pitch = Pitch(note);
            const auto [known, added] = alterations.try_emplace(
                {Staff(voice), pitch.Letter, pitch.Octave}, SignatureAlteration(pitch.Letter));
            if (known->second == pitch.Alteration || symbol.TieStop) continue;
            known->second = pitch.Alteration;
            Printed[{voice, note}] = true;
        }
    }
}

// Whether a beam of that level connects a symbol to the next one. Beams do not cross beats.
bool Writer::IsBeamed(const Bar& bar, Place place, int level) const {
    const auto& symbols = bar.Voices[place.Voice];
    if (place.Index + 1 >= symbols.size()) return false;
    const Symbol& one = symbols[place.Index];
    const Symbol& other = symbols[place.Index + 1];
    const int beat = bar.Meter.IsCompound() ? bar.Meter.BeatTicks() : TicksPerQuarter;
    return BeamsOf(one) >= level && BeamsOf(other) >= level &&
           one.Position + one.Length == other.Position &&
           one.Position / beat == other.Position / beat;
}

void Writer::WriteBeams(const Bar& bar, Place place) {
    const int levels = BeamsOf(bar.Voices[place.Voice][place.Index]);
    for (int level = 1; level <= levels; ++level) {
        const bool before = place.Index > 0 && IsBeamed(bar, {place.Voice, place.Index - 1}, level);
        const bool behind = IsBeamed(bar, place, level);
        const std::string tag = "beam number=\"" + std::to_string(level) + "\"";
        if (before || behind) {
            Document.Add(tag, before && behind ? "continue" : before ? "end" : "begin");
        } else if (level > 1) {
            WriteHook(bar, place, level);
        }
    }
}

// A single short note has a hook towards the note that completes its eighth or its beat.
void Writer::WriteHook(const Bar& bar, Place place, int level) {
    const bool before = place.Index > 0 && IsBeamed(bar, {place.Voice, place.Index - 1}, 1);
    const bool behind = IsBeamed(bar, place, 1);
    if (!before && !behind) return;
    const int whole = EighthTicks >> (level - 2);
    const int position = bar.Voices[place.Voice][place.Index].Position;
    const bool forward = behind && (!before || position % whole == 0);
    Document.Add("beam number=\"" + std::to_string(level) + "\"",
                 forward ? "forward hook" : "backward hook");
}

void Writer::WriteNotations(const Symbol& symbol, bool first) {
    const bool tied = !symbol.Notes.empty() && (symbol.TieStop || symbol.TieStart);
    const bool edge = first && (symbol.TupletBegin || symbol.TupletEnd);
    if (!tied && !edge) return;
    Document.Open("notations");
    if (tied && symbol.TieStop) Document.Empty("tied type=\"stop\"");
    if (tied && symbol.TieStart) Document.Empty("tied type=\"start\"");
    if (edge && symbol.TupletBegin) Document.Empty("tuplet type=\"start\" bracket=\"yes\"");
    if (edge && symbol.TupletEnd) Document.Empty("tuplet type=\"stop\"");
    Document.Close();
}

// The order of the elements is prescribed by MusicXML. note: index in the notes of the symbol.
void Writer::WriteNote(const Bar& bar, Place place, std::size_t note) {
    const Symbol& symbol = bar.Voices[place.Voice][place.Index];
    const bool rest = symbol.Notes.empty();
    const bool wholeBar = rest && symbol.Length == bar.Meter.BarTicks();
    const int index = rest ? 0 : symbol.Notes[note];
    const bool unsure = !rest && Score.Unsure[static_cast<std::size_t>(index)];
    Document.Open(unsure ? UnsureNote : "note");
    if (note > 0) Document.Empty("chord");
    if (rest) Document.Empty(wholeBar ? "rest measure=\"yes\"" : "rest");
    if (!rest) WritePitch(Pitch(index));
    Document.Add("duration", symbol.Length);
    if (!rest && symbol.TieStop) Document.Empty("tie type=\"stop\"");
    if (!rest && symbol.TieStart) Document.Empty("tie type=\"start\"");
    Document.Add("voice", static_cast<int>(place.Voice) + 1);
    if (!wholeBar) Document.Add("type", NameOf(symbol.Value));
    if (!wholeBar && symbol.Value.Dotted) Document.Empty("dot");
    if (!rest && !symbol.TieStop && Printed.contains({place.Voice, index}))
        Document.Add("accidental", AccidentalOf(Pitch(index).Alteration));
    if (symbol.Value.Actual != symbol.Value.Normal)
        Document.Open("time-modification")
            .Add("actual-notes", symbol.Value.Actual)
            .Add("normal-notes", symbol.Value.Normal)
            .Close();
    if (Score.Clefs.size() > 1) Document.Add("staff", Staff(place.Voice) + 1);
    if (!rest && note == 0) WriteBeams(bar, place);
    WriteNotations(symbol, note == 0);
    Document.Close();
}

void Writer::WriteSymbol(const Bar& bar, Place place) {
    const std::size_t notes = bar.Voices[place.Voice][place.Index].Notes.size();
    for (std::size_t note = 0; note < std::max<std::size_t>(1, notes); ++note)
        WriteNote(bar, place, note);
}

// The symbols of a voice, with gaps where a secondary voice has none.
void Writer::WriteVoice(const Bar& bar, std::size_t voice) {
    int at = bar.Offset;
    for (std::size_t i = 0; i < bar.Voices[voice].size(); ++i) {
        const Symbol& symbol = bar.Voices[voice][i];
        if (symbol.Position > at)
            Document.Open("forward").Add("duration", symbol.Position - at).Close();
        WriteSymbol(bar, {voice, i});
        at = symbol.Position + symbol.Length;
    }
    if (bar.Voices[voice].empty() || voice + 1 == bar.Voices.size()) return;
    Document.Open("backup").Add("duration", at - bar.Offset).Close();
}

void Writer::WriteBar(std::size_t index, std::size_t number) {
    const Bar& bar = Score.Bars[index];
    Document.Open("measure number=\"" + std::to_string(number) + "\"" +
                  (bar.Offset > 0 ? " implicit=\"yes\"" : ""));
    WriteAttributes(index);
    WriteTempo(index);
    FindAccidentals(bar);
    for (std::size_t voice = 0; voice < bar.Voices.size(); ++voice) WriteVoice(bar, voice);
    if (index + 1 == Score.Bars.size())
        Document.Open("barline location=\"right\"").Add("bar-style", "light-heavy").Close();
    Document.Close();
}

std::string Writer::Write(const std::string& title) {
    Document.Text = XmlHeader;
    Document.Open("score-partwise version=\"3.1\"");
    Document.Open("work").Add("work-title", title).Close();
    const std::string part = Score.Clefs.size() > 1 ? "Piano" : "Melody";
    Document.Open("part-list").Open("score-part id=\"P1\"").Add("part-name", part);
    Document.Open("score-instrument id=\"P1-I1\"").Add("instrument-name", part).Close();
    Document.Open("midi-instrument id=\"P1-I1\"")
        .Add("midi-channel", 1)
        .Add("midi-program", 1)
        .Close();
    Document.Close().Close();
    Document.Open("part id=\"P1\"");
    std::size_t number = Score.Bars.front().Offset > 0 ? 0 : 1;
    for (std::size_t bar = 0; bar < Score.Bars.size(); ++bar) WriteBar(bar, number++);
    Document.Close().Close();
    return std::move(Document.Text);
}

} // namespace

std::string MusicXml(const Score& score, const std::string& title) {
    return Writer(score).Write(title);
}

} // namespace score
