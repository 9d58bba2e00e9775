#!/usr/bin/env bash
# Makes melody.mid, the written notes, and melody.flac, the same line played by the sampled flute of
# a General MIDI sound font. Both are kept; run this only to change them.
# Needs fluidsynth, sox and the sound font (Debian: fluidsynth, fluid-soundfont-gm, sox).
# Usage: make-melody.sh [SOUND_FONT]
set -eu
cd "$(dirname "$0")"
font=${1:-/usr/share/sounds/sf2/FluidR3_GM.sf2}
program=73 # flute, counted from 0
ticks=480  # a quarter note
tempo=666667 # microseconds a quarter note: 90 a minute

# "New Britain" (Amazing Grace, 1829), first half: pitch and length in eighths, r for a breath.
melody="62:2 67:4 71:1 67:1 71:4 69:2 67:4 64:2 62:3 r:1 62:2 67:4 71:1 67:1 71:4 69:2 74:8"

bytes() { local b; for b; do printf "\\x$(printf %x "$b")"; done; }
big_endian() { bytes $(($1 >> 24 & 255)) $(($1 >> 16 & 255)) $(($1 >> 8 & 255)) $(($1 & 255)); }
# A delta time of up to 14 bits.
delta() { if (($1 < 128)); then bytes "$1"; else bytes $(($1 >> 7 | 128)) $(($1 & 127)); fi; }

track() {
  local item pitch length wait=$ticks # a beat of silence first
  delta 0; bytes 0xff 0x51 3 $((tempo >> 16)) $((tempo >> 8 & 255)) $((tempo & 255))
  delta 0; bytes 0xff 0x58 4 3 2 24 8
  delta 0; bytes 0xc0 $program
  for item in $melody; do
    pitch=${item%:*}
    length=$((${item#*:} * ticks / 2))
    if [ "$pitch" = r ]; then wait=$((wait + length)); continue; fi
    delta "$wait"; bytes 0x90 "$pitch" 96
    delta $((length - 30)); bytes 0x80 "$pitch" 0
    wait=30 # tongued: each note ends a little early
  done
  delta $ticks; bytes 0xff 0x2f 0
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
track > "$work/track"
{
  printf MThd; big_endian 6; bytes 0 0 0 1 $((ticks >> 8)) $((ticks & 255))
  printf MTrk; big_endian "$(stat -c %s "$work/track")"; cat "$work/track"
} > melody.mid

# Dry: a microphone close to the player.
fluidsynth -niq -R 0 -C 0 -g 0.8 -r 44100 -F "$work/melody.wav" "$font" melody.mid
sox -D "$work/melody.wav" -c 1 -b 16 -r 22050 -C 8 melody.flac norm -3
ls -l melody.mid melody.flac
