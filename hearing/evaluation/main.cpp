// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// hearing-score FOLDER [--ablate]: prints the accuracy of the decoder on the clips in FOLDER, with
// the lag for files and with the live one, and of the baseline. With --ablate: the accuracy of the
// decoder without each of its ideas.
#include "hearing/decoder.h"
#include "hearing/evaluation/clips.h"
#include "hearing/evaluation/match.h"
#include "hearing/evaluation/two_frames.h"
#include "hearing/tuning.h"

#include <cstdio>
#include <exception>
#include <functional>
#include <string_view>

namespace {

using namespace hearing;

using Detector = std::function<std::vector<PlainNote>(const Clip&)>;

std::vector<PlainNote> Decode(const Clip& clip, int lag, double tuning, const Costs& costs) {
    Decoder decoder(lag, tuning, costs);
    for (const Frame& frame : clip.Frames) decoder.Feed(frame);
    decoder.Finish();
    std::vector<PlainNote> notes;
    for (const Note& note : decoder.Notes()) notes.push_back({note.Onset, note.End, note.Pitch});
    return notes;
}

struct Group {
    std::string Category;
    Accuracy Result;
};

// Evaluates each category, in the order of the index.
std::vector<Group> EvaluateGroups(const std::vector<Clip>& clips, const Detector& detect) {
    std::vector<Group> groups;
    std::vector<std::vector<Comparison>> comparisons;
    for (const Clip& clip : clips) {
        std::size_t g = 0;
        while (g < groups.size() && groups[g].Category != clip.Category) ++g;
        if (g == groups.size()) {
            groups.push_back({clip.Category, {}});
            comparisons.emplace_back();
        }
        comparisons[g].push_back({clip.Truth, detect(clip)});
    }
    for (std::size_t g = 0; g < groups.size(); ++g) groups[g].Result = Evaluate(comparisons[g]);
    return groups;
}

// The mean over the categories of F1 within 100 ms less the median delay.
double MeanOf(const std::vector<Group>& groups) {
    double sum = 0;
    int count = 0;
    for (const Group& group : groups) {
        if (group.Category == "performance") continue; // a single clip, not representative
        sum += group.Result.Within100LessDelay;
        ++count;
    }
    return sum / (count ? count : 1);
}

void PrintAccuracy(const char* title, const std::vector<Group>& groups) {
    std::printf("%s\n%-12s %6s %6s %8s %8s %8s %9s\n", title, "category", "notes", "heard", "F1 50",
                "F1 100", "50-", "100-delay");
    for (const Group& group : groups) {
        const Accuracy& result = group.Result;
        std::printf("%-12s %6zu %6zu %8.3f %8.3f %8.3f %9.3f   median delay %+.0f ms\n",
                    group.Category.c_str(), result.TrueNotes, result.DetectedNotes, result.Within50,
                    result.Within100, result.Within50LessDelay, result.Within100LessDelay,
                    result.MedianDelay * 1000);
    }
    std::printf("mean of notes, melody, singing: %.3f\n\n", MeanOf(groups));
}

struct Variant {
    const char* Feature; // that is left out
    void (*Change)(Costs&);
    bool Tuned = true;
};

constexpr Variant Variants[] = {
    {"(nothing)", [](Costs&) {}},
    {"the recording's tuning", [](Costs&) {}, false},
    {"pitch bins between the semitones", [](Costs& c) { c.BinsPerSemitone = 1; }},
    {"a limit on a frame's pitch error", [](Costs& c) { c.MaxPitchError = 12; }},
    {"a lower cost of octaves and twelfths", [](Costs& c) { c.Harmonic = c.MaxPitchError; }},
    {"notes across frames without a pitch", [](Costs& c) { c.Unvoiced = c.MaxPitchError; }},
    {"note ends by low level", [](Costs& c) { c.Quiet = c.Unvoiced; }},
    {"a cost of changes", [](Costs& c) { c.NoteChange = c.NoteBegin = 2; }},
    {"the lower weight of the attack", [](Costs& c) { c.AttackShare = 1; }},
    {"the rise of the level", [](Costs& c) { c.RiseRelief = c.ReOnsetRelief = 0; }},
    {"jumps between steady pitches", [](Costs& c) { c.JumpRelief = 0; }},
    {"re-onsets", [](Costs& c) { c.ReOnsetRelief = 0; }},
};

void PrintAblation(const std::vector<Clip>& clips) {
    std::printf("%-36s %27s %27s\n", "without", "whole: n, m, s, mean", "live: n, m, s, mean");
    for (const Variant& variant : Variants) {
        Costs costs;
        variant.Change(costs);
        std::printf("%-36s", variant.Feature);
        for (const int lag : {FileLag, LiveLag}) {
            const auto groups = EvaluateGroups(clips, [&](const Clip& clip) {
                const bool tuned = variant.Tuned && lag == FileLag;
                return Decode(clip, lag, tuned ? TuningOf(clip.Frames) : 0, costs);
            });
            std::printf("  ");
            for (const Group& group : groups) {
                if (group.Category == "performance") continue;
                std::printf(" %5.3f", group.Result.Within100LessDelay);
            }
            std::printf(" %6.3f", MeanOf(groups));
        }
        std::printf("\n");
    }
}

void Run(const std::string& folder, bool ablate) {
    const std::vector<Clip> clips = ReadClips(folder);
    if (ablate) return PrintAblation(clips);
    PrintAccuracy("Two frames that agree", EvaluateGroups(clips, TwoFramesAgree));
    PrintAccuracy("Decoder, whole file", EvaluateGroups(clips, [](const Clip& clip) {
                      return Decode(clip, FileLag, TuningOf(clip.Frames), {});
                  }));
    PrintAccuracy("Decoder, 4 frames later", EvaluateGroups(clips, [](const Clip& clip) {
                      return Decode(clip, LiveLag, 0, {});
                  }));
}

} // namespace

int main(int argc, char** argv) {
    const bool ablate = argc == 3 && std::string_view(argv[2]) == "--ablate";
    if (argc != 2 && !ablate) {
        std::fprintf(stderr, "usage: hearing-score FOLDER [--ablate]\n");
        return 2;
    }
    try {
        Run(argv[1], ablate);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "hearing-score: %s\n", error.what());
        return 1;
    }
}
