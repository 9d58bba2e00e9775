#include "host/plot.h"

#include "host/names.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace zorhost {

namespace {

// Pixels.
constexpr double Left = 64;
constexpr double Right = 24;
constexpr double Top = 58;
constexpr double RowHeight = 16; // of a semitone
constexpr double Gap = 34;       // between the two fields
constexpr double LevelHeight = 150;
constexpr double Bottom = 44;
constexpr int FullLevel = 128;

__attribute__((format(printf, 2, 3))) void Append(std::string& svg, const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    svg += text;
}

std::string Escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += static_cast<unsigned char>(c) < 32 ? ' ' : c;
        }
    }
    return out;
}

double Semitones(double frequency) { return 69 + 12 * std::log2(frequency / 440); }

class Drawing {
public:
    explicit Drawing(const Plot& plot);
    std::string Draw();

private:
    double X(std::int64_t milliseconds) const {
        return Left + static_cast<double>(milliseconds) * PixelsPerSecond / 1000;
    }
    double Y(double semitone) const { return Top + (High + 0.5 - semitone) * RowHeight; }
    double LevelY(int level) const {
        return LevelBase - LevelHeight * std::min(level, FullLevel) / FullLevel;
    }
    void FindRange();
    void DrawGrid();
    void DrawTimes();
    void DrawNotes();
    void DrawPitch();
    void DrawLevel();
    void DrawGate(int level);

    const Plot& Of;
    const std::int64_t Length;
    double PixelsPerSecond;
    int Low = 0; // semitones shown
    int High = 0;
    double PitchBase = 0; // lower edges of the two fields
    double LevelBase = 0;
    double Width = 0;
    std::string Svg;
};

Drawing::Drawing(const Plot& plot)
    : Of(plot), Length(std::clamp<std::int64_t>(plot.Milliseconds, 1, LongestPlot)) {
    const double seconds = static_cast<double>(Length) / 1000;
    PixelsPerSecond = std::clamp(1100 / seconds, 60.0, 400.0);
    Width = Left + seconds * PixelsPerSecond + Right;
    FindRange();
    PitchBase = Top + (High - Low + 1) * RowHeight;
    LevelBase = PitchBase + Gap + LevelHeight;
}

// The notes with two semitones of air, at least an octave; single frames far off are not followed.
void Drawing::FindRange() {
    int low = 127;
    int high = 0;
    for (const Note& note : Of.Notes) {
        low = std::min(low, note.Key);
        high = std::max(high, note.Key);
    }
    if (low > high) low = high = 66;
    Low = std::max(0, low - 2);
    High = std::min(127, high + 2);
    while (High - Low < 12) {
        if (Low > 0) --Low;
        if (High < 127 && High - Low < 12) ++High;
    }
}

void Drawing::DrawGrid() {
    const double right = Width - Right;
    for (int key = Low; key <= High; ++key) {
        const int step = key % 12;
        const bool black = step == 1 || step == 3 || step == 6 || step == 8 || step == 10;
        Append(Svg, "<rect x='%.1f' y='%.1f' width='%.1f' height='%.1f' fill='%s'/>\n", Left,
               Y(key + 0.5), right - Left, RowHeight, black ? "#eef0f3" : "#fafbfc");
        Append(Svg, "<text x='%.1f' y='%.1f' text-anchor='end' class='%s'>%s</text>\n", Left - 8,
               Y(key) + 4, step == 0 ? "c" : "k", NoteName(key).c_str());
        if (step == 0) {
            Append(Svg, "<path d='M%.1f %.1fH%.1f' stroke='#c3c8d0'/>\n", Left, Y(key - 0.5),
                   right);
        }
    }
    Append(Svg, "<rect x='%.1f' y='%.1f' width='%.1f' height='%.1f' fill='#fafbfc'/>\n", Left,
           LevelBase - LevelHeight, right - Left, LevelHeight);
}

void Drawing::DrawTimes() {
    const double seconds = static_cast<double>(Length) / 1000;
    double step = 0.1;
    for (const double next : {0.2, 0.5, 1.0, 2.0, 5.0}) {
        if (step * PixelsPerSecond < 70) step = next;
    }
    for (int i = 0; i * step <= seconds; ++i) {
        const double x = Left + i * step * PixelsPerSecond;
        Append(Svg, "<path d='M%.1f %.1fV%.1fM%.1f %.1fV%.1f' stroke='#d9dde3'/>\n", x, Top,
               PitchBase, x, LevelBase - LevelHeight, LevelBase);
        Append(Svg, "<text x='%.1f' y='%.1f' text-anchor='middle' class='k'>%g s</text>\n", x,
               LevelBase + 18, i * step);
    }
}

void Drawing::DrawNotes() {
    for (const Note& note : Of.Notes) {
        if (note.Start >= Length) break;
        const double from = X(std::max<std::int64_t>(0, note.Start));
        const double width = std::max(2.0, X(std::min(note.End, Length)) - from);
        Append(Svg,
               "<rect x='%.1f' y='%.1f' width='%.1f' height='%.1f' rx='3' fill='#4f8fd6' "
               "fill-opacity='0.55' stroke='#2f6cb0'><title>%s, %.3f s to %.3f s, velocity "
               "%d</title></rect>\n",
               from, Y(note.Key + 0.5) + 1, width, RowHeight - 2, NoteName(note.Key).c_str(),
               static_cast<double>(note.Start) / 1000, static_cast<double>(note.End) / 1000,
               note.Velocity);
        Append(Svg, "<text x='%.1f' y='%.1f' class='n'>%s</text>\n", from + 1,
               Y(note.Key + 0.5) - 3, NoteName(note.Key).c_str());
    }
}

// One dot for each frame that has a pitch, as one path of points.
void Drawing::DrawPitch() {
    Svg += "<path class='p' d='";
    for (const Frame& frame : Of.Frames) {
        if (frame.Frequency <= 0 || frame.Time >= Length) continue;
        const double semitone = Semitones(frame.Frequency);
        if (semitone < Low - 0.5 || semitone > High + 0.5) continue;
        Append(Svg, "M%.1f %.1fh0", X(frame.Time), Y(semitone));
    }
    Svg += "'/>\n";
}

void Drawing::DrawLevel() {
    Append(Svg, "<path fill='#8aa1b8' d='M%.1f %.1f", Left, LevelBase);
    double last = Left;
    for (const Frame& frame : Of.Frames) {
        if (frame.Time > Length) break;
        last = X(frame.Time);
        Append(Svg, "L%.1f %.1f", last, LevelY(frame.Level));
    }
    Append(Svg, "L%.1f %.1fZ'/>\n", last, LevelBase);
    DrawGate(Of.OnLevel);
    DrawGate(Of.OffLevel);
}

void Drawing::DrawGate(int level) {
    const double y = LevelY(level);
    Append(Svg, "<path d='M%.1f %.1fH%.1f' stroke='#c2452d' stroke-dasharray='5 4'/>\n", Left, y,
           Width - Right);
    Append(Svg, "<text x='%.1f' y='%.1f' text-anchor='end' class='g'>%d</text>\n", Left - 8, y + 4,
           level);
}

std::string Drawing::Draw() {
    const double height = LevelBase + Bottom;
    Append(Svg,
           "<svg xmlns='http://www.w3.org/2000/svg' width='%.0f' height='%.0f' viewBox='0 0 %.0f "
           "%.0f'>\n",
           Width, height, Width, height);
    Svg += "<style>text{font-family:sans-serif;font-size:11px;fill:#39424e}"
           ".t{font-size:15px;font-weight:bold}.k{fill:#77818d}.c{font-weight:bold}"
           ".n{font-size:10px;fill:#2f6cb0}.g{font-size:10px;fill:#c2452d}"
           ".p{stroke:#b4331c;stroke-width:3.4;stroke-linecap:round;fill:none}</style>\n";
    Append(Svg, "<rect width='%.0f' height='%.0f' fill='#ffffff'/>\n", Width, height);
    Svg += "<text x='" + std::to_string(static_cast<int>(Left)) + "' y='24' class='t'>" +
           Escaped(Of.Title) + "</text>\n";
    Append(Svg,
           "<text x='%.0f' y='42' class='k'>bars: notes; dots: measured pitch of each frame; "
           "below: level, "
           "dashed where a note can begin (upper) and go on (lower)</text>\n",
           Left);
    DrawGrid();
    DrawTimes();
    DrawNotes();
    DrawPitch();
    DrawLevel();
    return Svg + "</svg>\n";
}

} // namespace

std::string DrawPlot(const Plot& plot) { return Drawing(plot).Draw(); }

} // namespace zorhost
