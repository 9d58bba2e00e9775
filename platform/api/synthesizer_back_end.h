// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The entry point of a synthesizer back end's shared object. docs/new-back-end.md
#pragma once

#include "platform/api/synthesizer.h"

namespace device {

// The back end, which lives until the process ends. Null with the reason in a sentence if its
// library cannot be used.
using OpenSynthesizerFunction = SynthesizerBackEnd*(std::string& reason);

} // namespace device

extern "C" __attribute__((visibility("default")))
device::OpenSynthesizerFunction OpenZorSynthesizer;
