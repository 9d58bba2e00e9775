// hearing-score FOLDER [--ablate]: how well the decoder hears the recordings whose frames and true
// notes lie in FOLDER, whole and with the live lag, beside two frames that agree. --ablate: what
// each of its ideas brings.
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

using Hear = std::function<std::vector<PlainNote>(const Clip&)>;

std::vector<PlainNote> Decode(const Clip& clip, int lag, double tuning, const Costs& costs) {
    Decoder decoder(lag, tuning, costs);
    for (const Frame& frame : clip.Frames) decoder.Take(frame);
    decoder.Finish();
    std::vector<PlainNote> heard;
    for (const Note& note : decoder.Notes()) heard.push_back({note.Onset, note.End, note.Pitch});
    return heard;
}

struct Group {
    std::string Category;
    Score Of;
};

// In the order of the index.
std::vector<Group> ScoreGroups(const std::vector<Clip>& clips, const Hear& hear) {
    std::vector<Group> groups;
    std::vector<std::vector<Take>> takes;
    for (const Clip& clip : clips) {
        std::size_t g = 0;
        while (g < groups.size() && groups[g].Category != clip.Category) ++g;
        if (g == groups.size()) {
            groups.push_back({clip.Category, {}});
            takes.emplace_back();
        }
        takes[g].push_back({clip.Truth, hear(clip)});
    }
    for (std::size_t g = 0; g < groups.size(); ++g) groups[g].Of = ScoreOf(takes[g]);
    return groups;
}

double MeanOf(const std::vector<Group>& groups) {
    double sum = 0;
    int count = 0;
    for (const Group& group : groups) {
        if (group.Category == "performance") continue; // a single clip
        sum += group.Of.Within100LessDelay;
        ++count;
    }
    return sum / (count ? count : 1);
}

void PrintScores(const char* title, const std::vector<Group>& groups) {
    std::printf("%s\n%-12s %6s %6s %8s %8s %8s %9s\n", title, "category", "notes", "heard", "F1 50",
                "F1 100", "50-", "100-delay");
    for (const Group& group : groups) {
        const Score& of = group.Of;
        std::printf("%-12s %6zu %6zu %8.3f %8.3f %8.3f %9.3f   median delay %+.0f ms\n",
                    group.Category.c_str(), of.True, of.Heard, of.Within50, of.Within100,
                    of.Within50LessDelay, of.Within100LessDelay, of.Delay * 1000);
    }
    std::printf("mean of notes, melody, singing: %.3f\n\n", MeanOf(groups));
}

struct Variant {
    const char* Without;
    void (*Change)(Costs&);
    bool Tuned = true;
};

constexpr Variant Variants[] = {
    {"(all of it)", [](Costs&) {}},
    {"the take's tuning", [](Costs&) {}, false},
    {"places between the semitones", [](Costs& c) { c.PlacesPerSemitone = 1; }},
    {"a limit on a frame's error", [](Costs& c) { c.MostOff = 12; }},
    {"octaves and twelfths at less", [](Costs& c) { c.Harmonic = c.MostOff; }},
    {"a note over frames without a pitch", [](Costs& c) { c.Unvoiced = c.MostOff; }},
    {"the end by quiet", [](Costs& c) { c.Quiet = c.Unvoiced; }},
    {"a cost of changes", [](Costs& c) { c.Change = c.Begin = 2; }},
    {"the easier attack", [](Costs& c) { c.AttackShare = 1; }},
    {"the rise of the level", [](Costs& c) { c.Relief = c.RepeatRelief = 0; }},
    {"notes struck again", [](Costs& c) { c.RepeatRelief = 0; }},
};

void PrintAblation(const std::vector<Clip>& clips) {
    std::printf("%-36s %27s %27s\n", "without", "whole: n, m, s, mean", "live: n, m, s, mean");
    for (const Variant& variant : Variants) {
        Costs costs;
        variant.Change(costs);
        std::printf("%-36s", variant.Without);
        for (const int lag : {FileLag, LiveLag}) {
            const auto groups = ScoreGroups(clips, [&](const Clip& clip) {
                const bool tuned = variant.Tuned && lag == FileLag;
                return Decode(clip, lag, tuned ? TuningOf(clip.Frames) : 0, costs);
            });
            std::printf("  ");
            for (const Group& group : groups) {
                if (group.Category == "performance") continue;
                std::printf(" %5.3f", group.Of.Within100LessDelay);
            }
            std::printf(" %6.3f", MeanOf(groups));
        }
        std::printf("\n");
    }
}

void Run(const std::string& folder, bool ablate) {
    const std::vector<Clip> clips = ReadClips(folder);
    if (ablate) return PrintAblation(clips);
    PrintScores("Two frames that agree", ScoreGroups(clips, TwoFramesAgree));
    PrintScores("Decoder, whole file", ScoreGroups(clips, [](const Clip& clip) {
                    return Decode(clip, FileLag, TuningOf(clip.Frames), {});
                }));
    PrintScores("Decoder, 4 frames later",
                ScoreGroups(clips, [](const Clip& clip) { return Decode(clip, LiveLag, 0, {}); }));
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
