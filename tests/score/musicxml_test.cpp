// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads MusicXML back into a short text of notes and signs.
#include "score/score.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sstream>
#include <string_view>

namespace {

using namespace score;

// Elements that fill a line, each followed by its sign in the text.
constexpr std::string_view Signs = R"(
<alter>1</alter>#<alter>-1</alter>b<rest/>r<rest measure="yes"/>R</note> </measure>| 
<type>32nd</type>z<type>16th</type>s<type>eighth</type>e<type>quarter</type>q<type>half</type>h<type>whole</type>w
<dot/>.<accidental>sharp</accidental>!#<accidental>flat</accidental>!b<tie type="stop"/>~
<accidental>natural</accidental>!n<tied type="start"/>~<beam number="1">begin</beam>[
<beam number="1">continue</beam>-<beam number="1">end</beam>]<beam number="2">begin</beam>[
<beam number="2">end</beam>]<beam number="2">forward hook</beam>/
<beam number="2">backward hook</beam>\
<actual-notes>3</actual-notes>3<actual-notes>2</actual-notes>2<tuplet type="stop"/>}
<tuplet type="start" bracket="yes"/>{<chord/>+<forward>_<backup>&<words>Swing</words>S:
<staff>2</staff>,<note color="#C04000">?
)";

std::string Value(const std::string& xml, const std::string& before) {
    const std::size_t at = xml.find(before);
    if (at == std::string::npos) return {};
    const std::size_t from = at + before.size();
    return xml.substr(from, xml.find_first_of("<\"", from) - from);
}

// "C#4~q.!# " is a dotted quarter tied to the note before, with a printed sharp; "C4e3{" begins a
// triplet.
std::string Notes(const std::string& xml) {
    std::map<char, int> values = {{'z', ThirtySecondTicks}, {'s', SixteenthTicks},
                                  {'e', EighthTicks},       {'q', TicksPerQuarter},
                                  {'h', HalfTicks},         {'w', WholeTicks}};
    std::istringstream lines(xml);
    std::string text;
    int duration = 0, value = 0;
    for (std::string line; lines >> std::ws && std::getline(lines, line);) {
        if (const std::size_t at = Signs.find(line); at != Signs.npos) {
            const std::string_view sign = Signs.substr(at + line.size());
            text += sign.substr(0, sign.find_first_of("<\n"));
        }
        text += Value(line, "<step>") + Value(line, "<octave>");
        if (line.starts_with("<duration>")) duration = value = std::stoi(Value(line, ">"));
        if (line.starts_with("<type>")) value = values[text.back()];
        if (line == "<dot/>") value += value / 2;
        if (line.starts_with("<actual-")) value /= std::stoi(Value(line, ">"));
        if (line.starts_with("<normal-")) value *= std::stoi(Value(line, ">"));
        if (line == "</note>") {
            EXPECT_EQ(duration, value) << text;
        }
    }
    return text;
}

// tune: the meter, the key (its tonic, and 1 for minor), the position of the first note in its bar,
// then pairs of MIDI key (0 is a rest) and length in sixteenths.
Score Parse(const std::string& tune) {
    std::istringstream words(tune);
    TimeSignature meter;
    Key key;
    double at = 0;
    char slash = 0;
    words >> meter.Beats >> slash >> meter.BeatType >> key.Tonic >> key.Minor >> at;
    Rhythm rhythm{{{0, meter}}, {{0, 90}}, false, {}, {}};
    std::vector<HeardNote> notes;
    for (double pitch = 0, length = 0; words >> pitch >> length; at += length) {
        if (pitch == 0) continue;
        notes.push_back({at * 0.6, (at + length) * 0.6, static_cast<int>(pitch)});
        rhythm.Onsets.push_back(static_cast<int>(std::lround(at * SixteenthTicks)));
        rhythm.TickSeconds.push_back(0.6 / SixteenthTicks);
    }
    ScoreOptions options;
    options.Key = key;
    options.Staves = 0;
    return MakeScore(notes, rhythm, options);
}

std::string Written(const std::string& tune) { return MusicXml(Parse(tune), "Me & <you>"); }

TEST(MusicXml, HasTheSignsAndValuesThatAreMeant) {
    const std::pair<const char*, const char*> cases[] = {
        // A sign holds to the end of its bar, for its octave.
        {"4/4 -3 0 0 63 4 68 4 69 4 68 2 80 2 69 2 67 2 62 12",
         "Eb4q Ab4q A4q!n Ab4e!b[ Ab5e] | A4e!n[ G4e] D4h. | "},
        // A tie over the bar line keeps the sign of its note only.
        {"4/4 0 0 0 60 8 66 12 66 4 67 8", "C4h F#4h!#~ | F#4~q F#4q!# G4h | "},
        // A chromatic note is spelled towards the next one.
        {"4/4 0 0 0 60 4 61 4 62 4 61 4 60 4 66 4 65 4 70 4 71 16",
         "C4q C#4q!# D4q Db4q!b | C4q Gb4q!b F4q A#4q!# | B4w | "},
        // Octave numbers follow the letter; double accidentals are avoided.
        {"4/4 7 1 0 61 4 60 2 61 2 62 4 67 4 68 16", "C#4q B#3e!#[ C#4e] D4q!n G4q!n | G#4w | "},
        {"4/4 -6 0 0 59 8 60 4 59 4", "Cb4h C4q!n Cb4q!b | "},
        // Rests and notes show the beats and the middle of the bar.
        {"4/4 0 0 0 60 4 0 8 62 4 0 16 62 2 64 4 65 4 67 4 69 2 60 6 62 8 64 2 60 4",
         "C4q rq rq D4q | R | D4e E4q F4e~ F4~e G4q A4e | C4q. D4e~ D4~q. E4e | C4q rq rh | "},
        {"4/4 0 0 0 60 1 62 3 64 3 65 1 67 1 69 2 71 1 72 4",
         "C4s[/ D4e.] E4e.[ F4s]\\ G4s[/ A4e- B4s]\\ C5q | "},
        {"6/8 3 1 10 69 2 72 4 74 2 76 3 77 1 76 2 74 12 72 3 74 3 76 1 77 1 79 4",
         "A4e | C5q D5e E5e.[ F5s-\\ E5e] | D5h. | C5e2[{ D5e2]} E5s[[ F5s]] G5q | "},
        {"6/8 0 0 0 60 1 62 3 64 2 60 6", "C4s[[ D4s-]~ D4~e- E4e] C4q. | "},
        {"6/8 0 0 0 72 6 74 6 72 6 0 6 72 4", "C5q. D5q. | C5q. rq. | C5q. rq. | "},
        // Triplets of eighths and of quarters, also after a tie; thirty-seconds.
        {"4/4 0 0 0 72 1.333 74 1.333 76 1.334 77 4 72 2.667 74 2.666 76 2.667 77 5.333 76 2.667 "
         "74 8",
         "C5e3[{ D5e3- E5e3]} F5q C5q3{ D5q3 E5q3} | F5h3{ E5q3} D5h | "},
        {"4/4 0 0 0 72 .5 74 .5 76 1 77 2 72 12", "C5z[[ D5z- E5s-] F5e] C5h. | "},
        {"4/4 0 0 0 67 2.667 69 2.667 67 2.667 0 1.333 65 2.667 64 4 62 2.667 60 5.333",
         "G4q3{ A4q3 G4q3~} G4~e3{ F4q3} E4q | D4q3{ C4h3} rh | "},
        {"2/2 0 0 0 60 8 62 8", "C4h D4h | "},
        {"3/8 0 0 0 60 2 62 2 64 2 60 6", "C4e[ D4e- E4e] | C4q. | "},
        {"9/8 0 0 0 60 6 62 6 64 3 65 3", "C4q. D4q. E4e2[{ F4e2]} | "},
        // A length below 0 goes back: a chord, and a note that is held above moving ones.
        {"4/4 0 0 0 60 8 0 -8 64 8 67 8", "C4h +E4h G4h | "},
        {"4/4 0 0 0 76 16 0 -16 60 4 61 4 62 4 61 4", "E5w &C4q C#4q!# D4q Db4q!b | "},
        // Chords wider than a hand are on two staves.
        {"4/4 0 0 0 72 4 0 -4 48 4 74 4 0 -4 52 4 76 8 0 -8 55 8",
         "C5q D5q E5h &C3q, E3q, G3h, | "},
    };
    for (const auto& [tune, reads] : cases) EXPECT_EQ(Notes(Written(tune)), reads);
}

TEST(MusicXml, SaysTitleKeyMeterClefAndTempoAtItsBeginning) {
    const std::string text =
        std::regex_replace(Written("6/8 7 1 10 97 2 100 12 100 1"), std::regex("\n *"), "");
    for (const char* part :
         {"<work-title>Me &amp; &lt;you&gt;<", "<fifths>4</fifths><mode>minor<",
          "<beats>6</beats><beat-type>8<", "<line>2</line><clef-octave-change>1<",
          // The metronome mark is in dotted quarters, the playback tempo in quarters.
          "<beat-unit>quarter</beat-unit><beat-unit-dot/><per-minute>60<", "<sound tempo=\"90\"",
          "<measure number=\"0\" implicit=\"yes\">", "<measure number=\"2\">"})
        EXPECT_NE(text.find(part), std::string::npos) << part;
    EXPECT_EQ(text.find("<measure number=\"3"), std::string::npos);
}

} // namespace
