#include "pitchrec/driver/microphone_name.h"

#include "platform/platform.h"

#include <cstddef>
#include <cstring>

namespace Sonorel {

namespace {

constexpr std::size_t CutLength = MAXPNAMELEN - 1;

bool Equal(const TextString& a, const TextString& b) {
    return std::strcmp(a.Text(), b.Text()) == 0;
}
bool EqualWhenCut(const TextString& a, const TextString& b) {
    return std::strncmp(a.Text(), b.Text(), CutLength) == 0;
}
bool MayBeCut(const TextString& name) { return std::strlen(name.Text()) == CutLength; }

} // namespace

MicrophoneName::MicrophoneName(const TextStringArray& devices, std::int32_t index)
    : Name(*devices.Items[index]) {
    for (std::int32_t before = 0; before < index; ++before)
        Twins += EqualWhenCut(Name, *devices.Items[before]);
}

std::int32_t MicrophoneName::PlaceIn(const TextStringArray& devices) const {
    std::int32_t whole = -1, wholes = 0, twin = -1, twins = 0;
    for (std::int32_t index = 0; index < devices.Count; ++index) {
        const TextString& device = *devices.Items[index];
        if (!EqualWhenCut(Name, device)) continue;
        const bool equal = Equal(Name, device);
        if (equal) {
            whole = index;
            ++wholes;
        }
        const bool may = equal || MayBeCut(Name) || MayBeCut(device);
        if (twins++ == Twins && may) twin = index;
    }
    return wholes == 1 ? whole : twin;
}

} // namespace Sonorel
