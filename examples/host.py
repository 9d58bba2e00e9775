#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""The library from Python: plays a scale on the first output port, then prints the received messages.

Usage: host.py [PATH OF libzormidi.so OR ZORMIDI.DLL]
"""
import ctypes
import sys
import time

INPUT, OUTPUT = 0, 1


class MIDIEvent(ctypes.LittleEndianStructure):
    _pack_ = 1
    _fields_ = [
        ("Time", ctypes.c_int32),
        ("Etime", ctypes.c_int32),
        ("Channel", ctypes.c_int16),
        ("Length", ctypes.c_uint8),
        ("Status", ctypes.c_uint8),
        ("Data1", ctypes.c_uint8),
        ("Data2", ctypes.c_uint8),
    ]


assert ctypes.sizeof(MIDIEvent) == 14


def load(path):
    # On 32-bit Windows the functions are stdcall, which is WinDLL's convention.
    loader = getattr(ctypes, "WinDLL", ctypes.CDLL)
    library = loader(path)
    library.MIDISysInit.restype = ctypes.c_int16
    for name in ("ZorAllocMIDI", "ZorStartMIDI", "ZorXmit", "ZorXmitEmpty", "ZorRcv"):
        getattr(library, name).restype = ctypes.c_uint8
    library.ZorXmit.argtypes = [ctypes.c_uint16, ctypes.POINTER(MIDIEvent)]
    library.ZorRcv.argtypes = [ctypes.POINTER(MIDIEvent), ctypes.c_uint8]
    library.ZorAllocMIDI.argtypes = [ctypes.c_int16, ctypes.c_int16]
    return library


def main():
    windows = sys.platform == "win32"
    zor = load(sys.argv[1] if len(sys.argv) > 1 else "ZORMIDI.DLL" if windows else "libzormidi.so.4")
    if zor.MIDISysInit(0) != -1:
        return "MIDI could not be initialised"
    try:
        if not (zor.ZorAllocMIDI(INPUT, 256) and zor.ZorAllocMIDI(OUTPUT, 256)):
            return "no memory for the queues"
        if not zor.ZorStartMIDI(1):
            return "MIDI could not be started"
        for beat, note in enumerate((60, 62, 64, 65, 67, 69, 71, 72)):
            zor.ZorXmit(OUTPUT, MIDIEvent(beat * 150, 0, 0, 2, 0x90, note, 96))
            zor.ZorXmit(OUTPUT, MIDIEvent(beat * 150 + 150, 0, 0, 2, 0x80, note, 0))
        # A position record as a rest of 300 ms: nothing is sent, but the queue stays non-empty until
        # it ends, so that messages looped back from the output are received before.
        zor.ZorXmit(OUTPUT, MIDIEvent(8 * 150 + 300, 0, 0, 0, 0xF8, 1, 0))
        while not zor.ZorXmitEmpty(0):
            time.sleep(0.01)
        print("played after", zor.ZorTimeMIDI(0), "ms")
        event = MIDIEvent()
        while zor.ZorRcv(event, 0):
            print(f"{event.Time:6} ms  channel {event.Channel}  {event.Status:02X}", event.Data1, event.Data2)
        zor.ZorStopMIDI()
        return 0
    finally:
        zor.MIDISysTerm()


if __name__ == "__main__":
    sys.exit(main())
