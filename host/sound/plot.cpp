// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/plot.h"

#include "hearing/pitch.h"
#include "host/terminal/names.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <filesystem>

namespace zorhost {

namespace {

// Sizes in pixels. A page fits the width of a screen.
constexpr double Left = 76;
constexpr double Right = 24;
constexpr double RowWidth = 1500;
constexpr double Top = 58;
constexpr double Gap = 14; // between the pitch and the level of a row
constexpr double LevelHeight = 70;
constexpr double TimesHeight = 58; // below a row
constexpr int MaxRows = 4;         // per page

// The scales, which are the same on all pages.
class PlotScale {
public:
    explicit PlotScale(const Plot& plot);

    int Pages() const;

    double PixelsPerSecond;
    double RowSeconds; // per row
    double Seconds;    // of the sound
    int Rows;          // per page
    int Low = 127;     // lowest key drawn
    int High = 0;      // highest key drawn
    double KeyHeight;  // pixels per semitone

private:
    void FindKeys(const Transcript& transcript);
};

PlotScale::PlotScale(const Plot& plot) : Seconds(std::max(plot.Sound.Seconds, 0.01)) {
    PixelsPerSecond = std::clamp(RowWidth / Seconds, 100.0, 400.0);
    RowSeconds = RowWidth / PixelsPerSecond;
    Rows = std::min(MaxRows, static_cast<int>(std::ceil(Seconds / RowSeconds)));
    FindKeys(plot.Transcript);
    KeyHeight = std::clamp(330.0 / (High - Low + 1), 5.0, 15.0);
}

int PlotScale::Pages() const {
    return std::max(1, static_cast<int>(std::ceil(Seconds / (RowSeconds * Rows))));
}

// The range of the notes with a margin of two semitones, at least an octave. Frames outside are not
// drawn.
void PlotScale::FindKeys(const Transcript& transcript) {
    for (const Note& note : transcript.Notes) {
        Low = std::min(Low, note.Key);
        High = std::max(High, note.Key);
    }
    if (Low > High) Low = High = 66;
    Low = std::max(0, Low - 2);
    High = std::min(127, High + 2);
    while (High - Low < 12) {
        if (Low > 0) --Low;
        if (High < 127 && High - Low < 12) ++High;
    }
}

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

// Whether it is a black key of the piano.
bool IsBlack(int key) {
    const int step = key % 12;
    return step == 1 || step == 3 || step == 6 || step == 8 || step == 10;
}

// Draws one row: a section of the sound, with the pitch above the level.
class Row {
public:
    Row(const zorhost::Plot& plot, const PlotScale& scale, double begin, double y, std::string& svg)
        : Plot(plot), Scale(scale), Begin(begin),
          End(std::min(begin + scale.RowSeconds, scale.Seconds)), PitchTop(y), Svg(svg) {}
    static double Height(const PlotScale& scale) {
        return (scale.High - scale.Low + 1) * scale.KeyHeight + Gap + LevelHeight + TimesHeight;
    }
    void Draw();

private:
    double X(double seconds) const { return Left + (seconds - Begin) * Scale.PixelsPerSecond; }
    double Y(double pitch) const { return PitchTop + (Scale.High + 0.5 - pitch) * Scale.KeyHeight; }
    double PitchBase() const { return Y(Scale.Low - 0.5); }
    double LevelBase() const { return PitchBase() + Gap + LevelHeight; }
    double LevelY(int level) const {
        return LevelBase() - LevelHeight * level / zorhearing::FullLevel;
    }

    void DrawKeys();
    void DrawTimes();
    void DrawAxisNames();
    void DrawNotes();
    void DrawNote(const Note& note);
    void DrawPitch();
    void DrawLevel();
    void DrawGate(int level);

    const zorhost::Plot& Plot;
    const PlotScale& Scale;
    double Begin; // seconds
    double End;   // seconds
    double PitchTop;
    std::string& Svg;
};

void Row::Draw() {
    DrawKeys();
    DrawTimes();
    DrawAxisNames();
    DrawNotes();
    DrawPitch();
    DrawLevel();
}

void Row::DrawKeys() {
    for (int key = Scale.Low; key <= Scale.High; ++key) {
        Append(Svg, "<rect x='%.1f' y='%.1f' width='%.1f' height='%.1f' fill='%s'/>\n", Left,
               Y(key + 0.5), X(End) - Left, Scale.KeyHeight, IsBlack(key) ? "#e9ecf1" : "#f8f9fb");
        const bool isC = key % 12 == 0;
        const bool isG = key % 12 == 7;
        if (!isC && (IsBlack(key) || (!isG && Scale.KeyHeight < 12))) continue;
        Append(Svg, "<text x='%.1f' y='%.1f' text-anchor='end' class='%s'>%s</text>\n", Left - 6,
               Y(key) + 3.5, isC ? "c" : "k", NoteName(key).c_str());
    }
    Append(Svg, "<rect x='%.1f' y='%.1f' width='%.1f' height='%.1f' fill='#f8f9fb'/>\n", Left,
           LevelBase() - LevelHeight, X(End) - Left, LevelHeight);
}

void Row::DrawTimes() {
    double step = 0.1;
    for (const double next : {0.2, 0.5, 1.0}) {
        if (step * Scale.PixelsPerSecond < 70) step = next;
    }
    for (int i = static_cast<int>(Begin / step + 1 - 1e-6); i * step <= End + 1e-6; ++i) {
        const double x = X(i * step);
        Append(Svg, "<path d='M%.1f %.1fV%.1fM%.1f %.1fV%.1f' stroke='#d3d8df'/>\n", x, PitchTop,
               PitchBase(), x, LevelBase() - LevelHeight, LevelBase());
        Append(Svg, "<text x='%.1f' y='%.1f' text-anchor='middle' class='k'>%g</text>\n", x,
               LevelBase() + 14, i * step);
    }
}

void Row::DrawAxisNames() {
    const auto upright = [this](double y, const char* name) {
        Append(Svg,
               "<text x='16' y='%.1f' text-anchor='middle' class='a' transform='rotate(-90 16 "
               "%.1f)'>%s</text>\n",
               y, y, name);
    };
    upright((PitchTop + PitchBase()) / 2, "pitch (note)");
    upright(LevelBase() - LevelHeight / 2, "level (of 128)");
    Append(Svg, "<text x='%.1f' y='%.1f' text-anchor='middle' class='a'>time (s)</text>\n",
           (Left + X(End)) / 2, LevelBase() + 30);
}

void Row::DrawNotes() {
    for (const Note& note : Plot.Transcript.Notes) {
        const auto start = static_cast<double>(note.Start) / 1000;
        const auto end = static_cast<double>(note.End) / 1000;
        if (start < End && end > Begin) DrawNote(note);
    }
}

// A bar at the key, with a line at the exact pitch.
void Row::DrawNote(const Note& note) {
    const double start = static_cast<double>(note.Start) / 1000;
    const double end = static_cast<double>(note.End) / 1000;
    const double x = X(std::max(start, Begin));
    const double width = std::max(2.0, X(std::min(end, End)) - x);
    const std::string name = NoteName(note.Key);
    Append(Svg,
           "<rect x='%.1f' y='%.1f' width='%.1f' height='%.1f' rx='2' fill='#4f8fd6' "
           "fill-opacity='0.5' stroke='#2f6cb0'><title>%s, %.3f s to %.3f s, velocity %d, "
           "confidence %.0f%%</title></rect>\n",
           x, Y(note.Key + 0.5), width, Scale.KeyHeight, name.c_str(), start, end, note.Velocity,
           note.Confidence * 100);
    if (note.Pitch > 0) {
        Append(Svg, "<path d='M%.1f %.1fh%.1f' stroke='#1c4f8a' stroke-width='1.5'/>\n", x,
               Y(note.Pitch), width);
    }
    if (start >= Begin) {
        Append(Svg, "<text x='%.1f' y='%.1f' class='n'>%s</text>\n", x + 1, Y(note.Key + 0.5) - 3,
               name.c_str());
    }
}

// One dot per frame with a pitch. All dots are one path of zero-length lines.
void Row::DrawPitch() {
    Svg += "<path class='p' d='";
    for (const hearing::Frame& frame : Plot.Sound.Frames) {
        if (frame.Frequency <= 0 || frame.Begin < Begin || frame.Begin >= End) continue;
        const double pitch = hearing::PitchOf(frame.Frequency);
        if (pitch < Scale.Low - 0.5 || pitch > Scale.High + 0.5) continue;
        Append(Svg, "M%.1f %.1fh0", X(frame.Begin + hearing::FrameSeconds / 2), Y(pitch));
    }
    Svg += "'/>\n";
}

void Row::DrawLevel() {
    Append(Svg, "<path fill='#8aa1b8' d='M%.1f %.1f", Left, LevelBase());
    double last = Left;
    for (const hearing::Frame& frame : Plot.Sound.Frames) {
        if (frame.Begin < Begin || frame.Begin >= End) continue;
        last = X(frame.Begin);
        Append(Svg, "L%.1f %.1f", last, LevelY(frame.Level));
    }
    Append(Svg, "L%.1f %.1fZ'/>\n", last, LevelBase());
    for (const int level : {Plot.Sound.OnLevel, Plot.Sound.OffLevel}) DrawGate(level);
    for (const int level :
         {0, Plot.Sound.OnLevel, zorhearing::FullLevel / 2, zorhearing::FullLevel}) {
        Append(Svg, "<text x='%.1f' y='%.1f' text-anchor='end' class='k'>%d</text>\n", Left - 6,
               LevelY(level) + 3.5, level);
    }
}

void Row::DrawGate(int level) {
    Append(Svg, "<path d='M%.1f %.1fH%.1f' stroke='#c2452d' stroke-dasharray='5 4'/>\n", Left,
           LevelY(level), X(End));
}

// page: from 0.
std::string DrawPage(const Plot& plot, const PlotScale& scale, int page) {
    const double pageSeconds = scale.RowSeconds * scale.Rows;
    const double first = page * pageSeconds;
    const double left = std::min(pageSeconds, scale.Seconds - first);
    const int rows = std::max(1, static_cast<int>(std::ceil(left / scale.RowSeconds - 1e-9)));
    const double width =
        Left + std::min(scale.Seconds, scale.RowSeconds) * scale.PixelsPerSecond + Right;
    const double height = Top + rows * Row::Height(scale);
    std::string svg;
    Append(svg,
           "<svg xmlns='http://www.w3.org/2000/svg' width='%.0f' height='%.0f' viewBox='0 0 %.0f "
           "%.0f'>\n",
           width, height, width, height);
    svg += "<style>text{font-family:sans-serif;font-size:11px;fill:#39424e}"
           ".t{font-size:15px;font-weight:bold}.k{fill:#77818d}.c{font-weight:bold}"
           ".n{font-size:10px;fill:#1c4f8a}.a{fill:#55606d}"
           ".p{stroke:#b4331c;stroke-width:3;stroke-linecap:round;fill:none}</style>\n";
    Append(svg, "<rect width='%.0f' height='%.0f' fill='#ffffff'/>\n", width, height);
    svg += "<text x='" + std::to_string(static_cast<int>(Left)) + "' y='24' class='t'>" +
           Escaped(plot.Title) + (page > 0 ? ", page " + std::to_string(page + 1) : "") +
           "</text>\n";
    Append(svg,
           "<text x='%.0f' y='42' class='k'>bars: notes, with their exact pitch; dots: pitch of "
           "each frame; below: level, dashed lines: thresholds of the search for a "
           "pitch</text>\n",
           Left);
    for (int row = 0; row < rows; ++row) {
        Row(plot, scale, first + row * scale.RowSeconds, Top + row * Row::Height(scale), svg)
            .Draw();
    }
    return svg + "</svg>\n";
}

constexpr int MaxPages = 60;

std::string PageName(const std::string& path, int page) {
    const std::filesystem::path whole(path);
    const std::string name =
        whole.stem().string() + "-" + std::to_string(page) + whole.extension().string();
    return (whole.parent_path() / name).string();
}

} // namespace

std::string PlotFiles::Write(const Plot& plot) {
    const PlotScale scale(plot);
    const int pages = std::min(scale.Pages(), MaxPages);
    WriteText(DrawPage(plot, scale, 0), FirstPage);
    for (int page = 1; page < pages; ++page) {
        OutputFile file(PageName(FirstPage.Path(), page + 1));
        WriteText(DrawPage(plot, scale, page), file);
    }
    const std::string more =
        " and " + std::to_string(pages - 1) + " more, to " + PageName(FirstPage.Path(), pages);
    return FirstPage.Path() + (pages > 1 ? more : "") +
           (scale.Pages() > pages ? ", of the first hour" : "");
}

} // namespace zorhost
