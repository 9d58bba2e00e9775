#pragma once

namespace bench {

// Whether the build has aubio to compare with.
bool WithAubio();

} // namespace bench
