#include "score/score.h"

#include <cmath>
#include <cstdlib>
#include <map>

namespace score {

namespace {

// Elements, indented as they nest.
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

constexpr char Head[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE score-partwise PUBLIC \"-//Recordare//DTD MusicXML 3.1 Partwise//EN\" "
    "\"http://www.musicxml.org/dtds/partwise.dtd\">\n";

// The value without its dot.
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
    explicit Writer(const Score& score) : Of(score) {}
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
    bool Joined(const Bar& bar, std::size_t at, int level) const;
    int BySignature(char letter) const;

    const Score& Of;
    Xml Out;
    std::map<std::pair<char, int>, int> InForce; // accidentals of this bar
};

void Writer::WriteAttributes() {
    Out.Open("attributes").Add("divisions", Quarter);
    Out.Open("key").Add("fifths", Of.In.Signature()).Add("mode", Of.In.Minor ? "minor" : "major");
    Out.Close().Open("time").Add("beats", Of.Of.In->Beats).Add("beat-type", Of.Of.In->BeatType);
    Out.Close().Open("clef").Add("sign", std::string(1, Of.At.Sign)).Add("line", Of.At.Line);
    if (Of.At.Octave != 0) Out.Add("clef-octave-change", Of.At.Octave);
    Out.Close().Close();
}

// In what is felt as a beat.
void Writer::WriteTempo() {
    const bool dotted = Of.Of.In->BeatLength != Quarter;
    const double quarters = Of.Of.QuartersPerMinute;
    Out.Open("direction placement=\"above\"").Open("direction-type").Open("metronome");
    Out.Add("beat-unit", "quarter");
    if (dotted) Out.Empty("beat-unit-dot");
    Out.Add("per-minute", static_cast<int>(std::lround(dotted ? quarters / 1.5 : quarters)));
    Out.Close().Close();
    Out.Empty("sound tempo=\"" + std::to_string(std::lround(quarters)) + "\"").Close();
}

int Writer::BySignature(char letter) const {
    constexpr char sharps[] = "FCGDAEB";
    const int signature = Of.In.Signature();
    for (int i = 0; i < std::abs(signature); ++i)
        if (sharps[signature > 0 ? i : 6 - i] == letter) return signature > 0 ? 1 : -1;
    return 0;
}

void Writer::WritePitch(const Spelling& pitch) {
    Out.Open("pitch").Add("step", std::string(1, pitch.Letter));
    if (pitch.Alteration != 0) Out.Add("alter", pitch.Alteration);
    Out.Add("octave", pitch.Octave).Close();
}

void Writer::WriteAccidental(const Symbol& symbol) {
    const Spelling& pitch = Of.Pitches[static_cast<std::size_t>(symbol.Note)];
    const auto [at, fresh] =
        InForce.try_emplace({pitch.Letter, pitch.Octave}, BySignature(pitch.Letter));
    if (at->second == pitch.Alteration || symbol.TiedBack) return;
    at->second = pitch.Alteration;
    Out.Add("accidental", AccidentalOf(pitch.Alteration));
}

// Whether a beam of that level leads from a symbol to the one behind it: within a beat.
bool Writer::Joined(const Bar& bar, std::size_t at, int level) const {
    if (at + 1 >= bar.Symbols.size()) return false;
    const Symbol& one = bar.Symbols[at];
    const Symbol& other = bar.Symbols[at + 1];
    const int longest = level == 1 ? 3 : 1;
    return one.Note >= 0 && other.Note >= 0 && one.Length <= longest && other.Length <= longest &&
           one.Place / Of.Of.In->BeatLength == other.Place / Of.Of.In->BeatLength;
}

void Writer::WriteBeam(const Bar& bar, std::size_t at) {
    const Symbol& symbol = bar.Symbols[at];
    for (int level = 1; level <= (symbol.Length == 1 ? 2 : 1); ++level) {
        const bool before = at > 0 && Joined(bar, at - 1, level);
        const bool behind = Joined(bar, at, level);
        const std::string tag = "beam number=\"" + std::to_string(level) + "\"";
        if (before || behind) {
            Out.Add(tag, before && behind ? "continue" : before ? "end" : "begin");
        } else if (level == 2) {
            WriteHook(bar, at, tag);
        }
    }
}

// A lone sixteenth's second beam points to the note with which it fills an eighth or a beat.
void Writer::WriteHook(const Bar& bar, std::size_t at, const std::string& tag) {
    const bool before = at > 0 && Joined(bar, at - 1, 1);
    const bool behind = Joined(bar, at, 1);
    if (!before && !behind) return;
    const bool forward = behind && (!before || bar.Symbols[at].Place % 2 == 0);
    Out.Add(tag, forward ? "forward hook" : "backward hook");
}

void Writer::WriteSymbol(const Bar& bar, std::size_t at) {
    const Symbol& symbol = bar.Symbols[at];
    const bool rest = symbol.Note < 0;
    const bool wholeBar = rest && symbol.Length == Of.Of.In->BarLength;
    Out.Open("note");
    if (rest) Out.Empty(wholeBar ? "rest measure=\"yes\"" : "rest");
    if (!rest) WritePitch(Of.Pitches[static_cast<std::size_t>(symbol.Note)]);
    Out.Add("duration", symbol.Length);
    if (symbol.TiedBack) Out.Empty("tie type=\"stop\"");
    if (symbol.TiedOn) Out.Empty("tie type=\"start\"");
    Out.Add("voice", 1);
    if (!wholeBar) Out.Add("type", TypeOf(symbol.Length));
    if (!wholeBar && Dotted(symbol.Length)) Out.Empty("dot");
    if (!rest) WriteAccidental(symbol);
    if (!rest) WriteBeam(bar, at);
    if (symbol.TiedBack || symbol.TiedOn) {
        Out.Open("notations");
        if (symbol.TiedBack) Out.Empty("tied type=\"stop\"");
        if (symbol.TiedOn) Out.Empty("tied type=\"start\"");
        Out.Close();
    }
    Out.Close();
}

void Writer::WriteBar(const Bar& bar, std::size_t number) {
    const bool pickup = bar.Place > 0;
    InForce.clear();
    Out.Open("measure number=\"" + std::to_string(number) + "\"" +
             (pickup ? " implicit=\"yes\"" : ""));
    if (&bar == &Of.Bars.front()) {
        WriteAttributes();
        WriteTempo();
    }
    for (std::size_t at = 0; at < bar.Symbols.size(); ++at) WriteSymbol(bar, at);
    if (&bar == &Of.Bars.back())
        Out.Open("barline location=\"right\"").Add("bar-style", "light-heavy").Close();
    Out.Close();
}

std::string Writer::Write(const std::string& title) {
    Out.Text = Head;
    Out.Open("score-partwise version=\"3.1\"");
    Out.Open("work").Add("work-title", title).Close();
    Out.Open("part-list").Open("score-part id=\"P1\"").Add("part-name", "Melody").Close().Close();
    Out.Open("part id=\"P1\"");
    std::size_t number = Of.Bars.front().Place > 0 ? 0 : 1;
    for (const Bar& bar : Of.Bars) WriteBar(bar, number++);
    Out.Close().Close();
    return std::move(Out.Text);
}

} // namespace

std::string MusicXml(const Score& score, const std::string& title) {
    return Writer(score).Write(title);
}

} // namespace score
