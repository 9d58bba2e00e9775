// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/driver/microphone_name.h"

#include "platform/platform.h"

#include <cstddef>
#include <cstring>

namespace Sonorel {

namespace {

constexpr std::size_t TruncatedLength = MAXPNAMELEN - 1;

bool Equal(const TextString& a, const TextString& b) {
    return std::strcmp(a.Text(), b.Text()) == 0;
}
bool EqualWhenTruncated(const TextString& a, const TextString& b) {
    return std::strncmp(a.Text(), b.Text(), TruncatedLength) == 0;
}
bool MayBeTruncated(const TextString& name) { return std::strlen(name.Text()) == TruncatedLength; }

} // namespace

MicrophoneName::MicrophoneName(const TextStringArray& devices, std::int32_t index)
    : Name(*devices.Items[index]) {
    for (std::int32_t before = 0; before < index; ++before)
        MatchesBefore += EqualWhenTruncated(Name, *devices.Items[before]);
}

std::int32_t MicrophoneName::IndexIn(const TextStringArray& devices) const {
    std::int32_t exact = -1, exactCount = 0, match = -1, matchCount = 0;
    for (std::int32_t index = 0; index < devices.Count; ++index) {
        const TextString& device = *devices.Items[index];
        if (!EqualWhenTruncated(Name, device)) continue;
        const bool equal = Equal(Name, device);
        if (equal) {
            exact = index;
            ++exactCount;
        }
        const bool matches = equal || MayBeTruncated(Name) || MayBeTruncated(device);
        if (matchCount++ == MatchesBefore && matches) match = index;
    }
    return exactCount == 1 ? exact : match;
}

} // namespace Sonorel
