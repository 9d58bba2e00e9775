#pragma once

namespace bench {

// Was aubio there to be measured beside?
bool WithAubio();

} // namespace bench
