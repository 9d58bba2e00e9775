// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sound files of the formats that the system's Media Foundation decodes.
#pragma once

#include "host/sound/sound_decoder.h"

namespace zorhost {

// As OpenSound, of a file that exists. Media Foundation is loaded at the first call, since some
// editions of Windows have none.
std::unique_ptr<SoundDecoder> OpenWithMediaFoundation(const std::string& path);

} // namespace zorhost
