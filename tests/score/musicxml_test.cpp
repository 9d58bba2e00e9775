// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads MusicXML back into a short text of notes and signs.
#include "score/score.h"

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
<type>16th</type>s<type>eighth</type>e<type>quarter</type>q<type>half</type>h<type>whole</type>w
<dot/>.<accidental>sharp</accidental>!#<accidental>flat</accidental>!b<tie type="stop"/>~
<accidental>natural</accidental>!n<tied type="start"/>~<beam number="1">begin</beam>[
<beam number="1">continue</beam>-<beam number="1">end</beam>]<beam number="2">begin</beam>[
<beam number="2">end</beam>]<beam number="2">forward hook</beam>/
<beam number="2">backward hook</beam>\
)";

std::string Value(const std::string& xml, const std::string& before) {
    const std::size_t at = xml.find(before);
    if (at == std::string::npos) return {};
    const std::size_t from = at + before.size();
    return xml.substr(from, xml.find_first_of("<\"", from) - from);
}

// "C#4~q.!# " is a dotted quarter tied to the note before, with a printed sharp.
std::string Notes(const std::string& xml) {
    std::map<char, int> values = {{'s', 1}, {'e', 2}, {'q', 4}, {'h', 8}, {'w', 16}};
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
        if (line == "</note>") {
            EXPECT_EQ(duration, value) << text;
        }
    }
    return text;
}

// tune: the index of the meter, the key (its tonic, and 1 for minor), the position of the first
// note in its bar, then pairs of MIDI key (0 is a rest) and length in grid units.
std::string Written(const std::string& tune) {
    Score score{{nullptr, 90, {}, {}}, {}, {'G', 2, 1}, {}, {}};
    std::vector<HeardNote> melody;
    std::istringstream words(tune);
    std::size_t meter = 0;
    int at = 0;
    words >> meter >> score.Key.Tonic >> score.Key.Minor >> at;
    score.Rhythm.Meter = &Meters()[meter];
    for (int pitch = 0, length = 0; words >> pitch >> length; at += length) {
        if (pitch == 0) continue;
        melody.push_back({at * 0.1, (at + length) * 0.1, pitch});
        score.Rhythm.Onsets.push_back(at);
        score.Rhythm.UnitSeconds.push_back(0.1);
    }
    score.Pitches = Spell(melody, score.Key);
    score.Bars = MakeBars(score.Rhythm, FindLengths(melody, score.Rhythm));
    return MusicXml(score, "Me & <you>");
}

TEST(MusicXml, HasTheSignsAndValuesThatAreMeant) {
    const std::pair<const char*, const char*> cases[] = {
        // A sign holds to the end of its bar, for its octave.
        {"0 -3 0 0 63 4 68 4 69 4 68 2 80 2 69 2 67 2 62 12",
         "Eb4q Ab4q A4q!n Ab4e!b[ Ab5e] | A4e!n[ G4e] D4h. | "},
        // A tie over the bar line keeps the sign of its note only.
        {"0 0 0 0 60 8 66 12 66 4 67 8", "C4h F#4h!#~ | F#4~q F#4q!# G4h | "},
        // A chromatic note is spelled towards the next one.
        {"0 0 0 0 60 4 61 4 62 4 61 4 60 4 66 4 65 4 70 4 71 16",
         "C4q C#4q!# D4q Db4q!b | C4q Gb4q!b F4q A#4q!# | B4w | "},
        // Octave numbers follow the letter; double accidentals are avoided.
        {"0 7 1 0 61 4 60 2 61 2 62 4 67 4 68 16", "C#4q B#3e!#[ C#4e] D4q!n G4q!n | G#4w | "},
        {"0 -6 0 0 59 8 60 4 59 4", "Cb4h C4q!n Cb4q!b | "},
        // Rests and notes show the beats and the middle of the bar.
        {"0 0 0 0 60 4 0 8 62 4 0 16 62 2 64 4 65 4 67 4 69 2 60 6 62 8 64 2 60 4",
         "C4q rq rq D4q | R | D4e E4q F4e~ F4~e G4q A4e | C4q. D4e~ D4~q. E4e | C4q rq rh | "},
        {"0 0 0 0 60 1 62 3 64 3 65 1 67 1 69 2 71 1 72 4",
         "C4s[/ D4e.] E4e.[ F4s]\\ G4s[/ A4e- B4s]\\ C5q | "},
        {"2 3 1 10 69 2 72 4 74 2 76 3 77 1 76 2 74 12 72 3 74 3 76 1 77 1 79 4",
         "A4e | C5q D5e E5e.[ F5s-\\ E5e] | D5h. | C5e.[ D5s-\\~ D5~e] E5s[[ F5s]] G5q | "},
        {"2 0 0 0 72 6 74 6 72 6 0 6 72 4", "C5q. D5q. | C5q. rq. | C5q. rq. | "},
    };
    for (const auto& [tune, reads] : cases) EXPECT_EQ(Notes(Written(tune)), reads);
}

TEST(MusicXml, SaysTitleKeyMeterClefAndTempoAtItsBeginning) {
    const std::string text =
        std::regex_replace(Written("2 7 1 10 73 2 76 12 76 1"), std::regex("\n *"), "");
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
