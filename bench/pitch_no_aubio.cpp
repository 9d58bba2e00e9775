#include "bench/pitch_aubio.h"

bool bench::WithAubio() { return false; }
