// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "mme/setup_dialog.h"

#include <cstdio>

namespace {

// The fields of a version word, from its highest bits down.
struct Fields {
    explicit Fields(std::uint32_t word)
        : Major(word >> 24), Minor(word >> 20 & 0xF), Update(word >> 16 & 0xF),
          Development((word >> 15 & 1) != 0), Stage(word >> 8 & 0x7F), Build(word & 0xFF) {}
    unsigned Major, Minor, Update;
    bool Development;
    unsigned Stage, Build;
};

// The name of a release among its users; null for a word outside the known releases.
const char* ReleaseTag(std::uint32_t word) {
    struct Tag {
        std::uint32_t FirstWord;
        const char* Text;
    };
    constexpr Tag tags[] = {
        {0x07000000, "70"}, {0x06000000, "60"}, {0x05000000, "50"},
        {0x04000000, "40"}, {0x03800000, "38"},
    };
    if (word >> 24 > 7) return nullptr;
    for (const Tag& tag : tags)
        if (word >= tag.FirstWord) return tag.Text;
    return nullptr;
}

const char* StageText(unsigned stage) {
    constexpr const char* stages[] = {"v", "a", "b", "rc", "r"};
    return stage < sizeof stages / sizeof stages[0] ? stages[stage] : "?";
}

} // namespace

void VersionText(std::uint32_t word, char (&text)[VersionTextSize]) {
    const Fields fields(word);
    char release[12];
    if (const char* tag = ReleaseTag(word)) {
        const char update[] = {static_cast<char>('a' + fields.Update - 1), '\0'};
        std::snprintf(release, sizeof release, "%s%s.", tag, fields.Update ? update : "");
    } else {
        std::snprintf(release, sizeof release, "%u.%u.%u", fields.Major, fields.Minor,
                      fields.Update);
    }
    std::snprintf(text, sizeof text, "%s%s%u%s", release, StageText(fields.Stage), fields.Build,
                  fields.Development ? "d" : "");
}
