// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/driver/microphone_list.h"

#include "pitchrec/driver/listening.h"

#include <algorithm>
#include <cstring>
#include <new>

using Sonorel::MicrophoneName;
using Sonorel::TextString;
using Sonorel::TextStringArray;

namespace {

bool SameNames(const TextStringArray& a, const TextStringArray& b) {
    return std::equal(a.Items, a.Items + a.Count, b.Items, b.Items + b.Count,
                      [](const TextString* one, const TextString* other) {
                          return std::strcmp(one->Text(), other->Text()) == 0;
                      });
}

} // namespace

void MicrophoneList::Read() {
    Class = CurrentCaptureClass();
    ListMicrophones(Class, ListedNames);
    ListMicrophones(CaptureClass::WaveIn, WaveInNames);
}

bool MicrophoneList::IsStale() const {
    if (CurrentCaptureClass() == CaptureClass::None) return false;
    if (CurrentCaptureClass() != Class) return true;
    TextStringArray now;
    ListMicrophones(CaptureClass::WaveIn, now);
    return !SameNames(now, WaveInNames);
}

std::int32_t MicrophoneList::CurrentIndex() const {
    const MicrophoneName* const name = CurrentMicrophone();
    return name ? name->IndexIn(ListedNames) : -1;
}

std::unique_ptr<const MicrophoneName> MicrophoneList::NameAt(std::int32_t index) const {
    if (!ListedNames.At(index)) return nullptr;
    return std::unique_ptr<const MicrophoneName>(new (std::nothrow)
                                                     MicrophoneName(ListedNames, index));
}
