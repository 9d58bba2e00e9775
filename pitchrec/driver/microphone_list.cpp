#include "pitchrec/driver/microphone_list.h"

#include "pitchrec/driver/listening.h"

#include <algorithm>
#include <cstring>
#include <new>

using Sonorel::MicrophoneName;
using Sonorel::TextString;
using Sonorel::TextStringArray;

namespace {

bool Same(const TextStringArray& a, const TextStringArray& b) {
    return std::equal(a.Items, a.Items + a.Count, b.Items, b.Items + b.Count,
                      [](const TextString* one, const TextString* other) {
                          return std::strcmp(one->Text(), other->Text()) == 0;
                      });
}

} // namespace

void MicrophoneList::Read() {
    Class = PresentClass();
    ListMicrophones(Class, Listed);
    ListMicrophones(CaptureClass::WaveIn, WaveDevices);
}

bool MicrophoneList::IsStale() const {
    if (PresentClass() == CaptureClass::None) return false;
    if (PresentClass() != Class) return true;
    TextStringArray now;
    ListMicrophones(CaptureClass::WaveIn, now);
    return !Same(now, WaveDevices);
}

std::int32_t MicrophoneList::Present() const {
    const MicrophoneName* const name = PresentMicrophone();
    return name ? name->PlaceIn(Listed) : -1;
}

std::unique_ptr<const MicrophoneName> MicrophoneList::NameAt(std::int32_t place) const {
    if (!Listed.At(place)) return nullptr;
    return std::unique_ptr<const MicrophoneName>(new (std::nothrow) MicrophoneName(Listed, place));
}
