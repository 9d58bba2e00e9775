// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/score.h"

#include <cmath>
#include <cstdlib>
#include <map>

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

// The note value of a length in grid units, without its dot.
const char* TypeOf(int length) {
    return length == 1   ? "16th"
           : length < 4  ? "eighth"
           : length < 8  ? "quarter"
           : length < 16 ? "half"
                         : "whole";
}

bool Dotted(int length) { return length % 3 == 0; }

const char* AccidentalOf(int alteration) {
    constexpr const char* names[] = {"flat-flat", "flat", "natural", "sharp", "double-sharp"};
    return names[alteration + 2];
}

class Writer {
public:
    explicit Writer(const score::Score& score) : Score(score) {}
    std::string Write(const std::string& title);

private:
    void WriteAttributes();
    void WriteTempo();
    void WriteBar(const Bar& bar, std::size_t number);
    void WriteSymbol(const Bar& bar, std::size_t at);
    void WritePitch(const Spelling& pitch);
    void WriteAccidental(const Symbol& symbol);
    void WriteBeam(const Bar& bar, std::size_t at);
    void WriteHook(const Bar& bar, std::size_t at, const std::string& tag);
    bool IsBeamed(const Bar& bar, std::size_t at, int level) const;
    int SignatureAlteration(char letter) const;

    const score::Score& Score;
    Xml Document;
    // Alteration of each letter and octave that has occurred in this bar.
    std::map<std::pair<char, int>, int> BarAlterations;
};

void Writer::WriteAttributes() {
    Document.Open("attributes").Add("divisions", GridUnitsPerQuarter);
    Document.Open("key")
        .Add("fifths", Score.Key.Signature())
        .Add("mode", Score.Key.Minor ? "minor" : "major");
    Document.Close()
        .Open("time")
        .Add("beats", Score.Rhythm.Meter->Beats)
        .Add("beat-type", Score.Rhythm.Meter->BeatType);
    Document.Close()
        .Open("clef")
        .Add("sign", std::string(1, Score.Clef.Sign))
        .Add("line", Score.Clef.Line);
    if (Score.Clef.Octave != 0) Document.Add("clef-octave-change", Score.Clef.Octave);
    Document.Close().Close();
}

// The metronome mark counts felt beats, the playback tempo quarter notes.
void Writer::WriteTempo() {
    const bool dotted = Score.Rhythm.Meter->BeatLength != GridUnitsPerQuarter;
    const double quarters = Score.Rhythm.QuartersPerMinute;
    Document.Open("direction placement=\"above\"").Open("direction-type").Open("metronome");
    Document.Add("beat-unit", "quarter");
    if (dotted) Document.Empty("beat-unit-dot");
    Document.Add("per-minute", static_cast<int>(std::lround(dotted ? quarters / 1.5 : quarters)));
    Document.Close().Close();
    Document.Empty("sound tempo=\"" + std::to_string(std::lround(quarters)) + "\"").Close();
}

// The alteration of a letter by the key signature.
int Writer::SignatureAlteration(char letter) const {
    constexpr char sharps[] = "FCGDAEB";
    const int signature = Score.Key.Signature();
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
// note on the same line or space in this bar.
void Writer::WriteAccidental(const Symbol& symbol) {
    const Spelling& pitch = Score.Pitches[static_cast<std::size_t>(symbol.Note)];
    const auto [known, added] =
        BarAlterations.try_emplace({pitch.Letter, pitch.Octave}, SignatureAlteration(pitch.Letter));
    if (known->second == pitch.Alteration || symbol.TieStop) return;
    known->second = pitch.Alteration;
    Document.Add("accidental", AccidentalOf(pitch.Alteration));
}

// Whether a beam of that level connects a symbol to the next one. Beams do not cross beats.
bool Writer::IsBeamed(const Bar& bar, std::size_t at, int level) const {
    if (at + 1 >= bar.Symbols.size()) return false;
    const Symbol& one = bar.Symbols[at];
    const Symbol& other = bar.Symbols[at + 1];
    const int longest = level == 1 ? 3 : 1;
    const int beat = Score.Rhythm.Meter->BeatLength;
    return one.Note >= 0 && other.Note >= 0 && one.Length <= longest && other.Length <= longest &&
           one.Position / beat == other.Position / beat;
}

void Writer::WriteBeam(const Bar& bar, std::size_t at) {
    const Symbol& symbol = bar.Symbols[at];
    for (int level = 1; level <= (symbol.Length == 1 ? 2 : 1); ++level) {
        const bool before = at > 0 && IsBeamed(bar, at - 1, level);
        const bool behind = IsBeamed(bar, at, level);
        const std::string tag = "beam number=\"" + std::to_string(level) + "\"";
        if (before || behind) {
            Document.Add(tag, before && behind ? "continue" : before ? "end" : "begin");
        } else if (level == 2) {
            WriteHook(bar, at, tag);
        }
    }
}

// The second beam of a single sixteenth is a hook towards the note that completes its eighth or
// its beat.
void Writer::WriteHook(const Bar& bar, std::size_t at, const std::string& tag) {
    const bool before = at > 0 && IsBeamed(bar, at - 1, 1);
    const bool behind = IsBeamed(bar, at, 1);
    if (!before && !behind) return;
    const bool forward = behind && (!before || bar.Symbols[at].Position % 2 == 0);
    Document.Add(tag, forward ? "forward hook" : "backward hook");
}

// The order of the elements is prescribed by MusicXML.
void Writer::WriteSymbol(const Bar& bar, std::size_t at) {
    const Symbol& symbol = bar.Symbols[at];
    const bool rest = symbol.Note < 0;
    const bool wholeBar = rest && symbol.Length == Score.Rhythm.Meter->BarLength;
    Document.Open("note");
    if (rest) Document.Empty(wholeBar ? "rest measure=\"yes\"" : "rest");
    if (!rest) WritePitch(Score.Pitches[static_cast<std::size_t>(symbol.Note)]);
    Document.Add("duration", symbol.Length);
    if (symbol.TieStop) Document.Empty("tie type=\"stop\"");
    if (symbol.TieStart) Document.Empty("tie type=\"start\"");
    Document.Add("voice", 1);
    if (!wholeBar) Document.Add("type", TypeOf(symbol.Length));
    if (!wholeBar && Dotted(symbol.Length)) Document.Empty("dot");
    if (!rest) WriteAccidental(symbol);
    if (!rest) WriteBeam(bar, at);
    if (symbol.TieStop || symbol.TieStart) {
        Document.Open("notations");
        if (symbol.TieStop) Document.Empty("tied type=\"stop\"");
        if (symbol.TieStart) Document.Empty("tied type=\"start\"");
        Document.Close();
    }
    Document.Close();
}

void Writer::WriteBar(const Bar& bar, std::size_t number) {
    const bool pickup = bar.Offset > 0;
    BarAlterations.clear();
    Document.Open("measure number=\"" + std::to_string(number) + "\"" +
                  (pickup ? " implicit=\"yes\"" : ""));
    if (&bar == &Score.Bars.front()) {
        WriteAttributes();
        WriteTempo();
    }
    for (std::size_t at = 0; at < bar.Symbols.size(); ++at) WriteSymbol(bar, at);
    if (&bar == &Score.Bars.back())
        Document.Open("barline location=\"right\"").Add("bar-style", "light-heavy").Close();
    Document.Close();
}

std::string Writer::Write(const std::string& title) {
    Document.Text = XmlHeader;
    Document.Open("score-partwise version=\"3.1\"");
    Document.Open("work").Add("work-title", title).Close();
    Document.Open("part-list")
        .Open("score-part id=\"P1\"")
        .Add("part-name", "Melody")
        .Close()
        .Close();
    Document.Open("part id=\"P1\"");
    std::size_t number = Score.Bars.front().Offset > 0 ? 0 : 1;
    for (const Bar& bar : Score.Bars) WriteBar(bar, number++);
    Document.Close().Close();
    return std::move(Document.Text);
}

} // namespace

std::string MusicXml(const Score& score, const std::string& title) {
    return Writer(score).Write(title);
}

} // namespace score
