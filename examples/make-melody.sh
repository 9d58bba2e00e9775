#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT

# Renders examples/melody.mid as examples/melody.flac: one voice, 22,050 Hz, mono.
#
# The sound is the flute of the sound font FluidR3 GM by Frank Wen (package fluid-soundfont-gm),
# which is under the MIT licence, and so is the rendering. Needs: fluidsynth fluid-soundfont-gm sox.
set -euo pipefail
cd "$(dirname "$0")"
font=${1:-/usr/share/sounds/sf2/FluidR3_GM.sf2}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
g++ -std=c++20 -O1 -o "$work/make-melody" make-melody.cpp
"$work/make-melody" melody.mid
fluidsynth -q -ni -g 1.2 -R 0 -C 0 -r 44100 -F "$work/melody.wav" "$font" melody.mid
# The right sample rate, one channel, the level of a singer near the microphone, no long tail.
sox -D "$work/melody.wav" -r 22050 -c 1 -b 16 "$work/mono.wav" norm -3 silence -l 0 reverse \
    silence 1 0.1 0.1% reverse pad 0 0.3
sox -D "$work/mono.wav" melody.flac
ls -l melody.mid melody.flac
