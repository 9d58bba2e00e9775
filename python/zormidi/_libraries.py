# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""The shared libraries and their functions, as their headers declare them."""
from __future__ import annotations

import ctypes
import functools
import pathlib
from ctypes import (POINTER, Structure, c_char_p, c_double, c_int16, c_int32, c_int64, c_size_t, c_uint8,
                    c_uint16, c_uint32, c_void_p)


class ZorMidiError(Exception):
    """Anything that this package reports; its text contains what to do."""


class MIDIEvent(ctypes.LittleEndianStructure):
    _pack_ = 1
    _fields_ = [("Time", c_int32), ("Etime", c_int32), ("Channel", c_int16), ("Length", c_uint8),
                ("Status", c_uint8), ("Data1", c_uint8), ("Data2", c_uint8)]


class ZorHearNote(Structure):
    _fields_ = [("Onset", c_double), ("End", c_double), ("Pitch", c_double), ("Cents", c_double),
                ("Confidence", c_double), ("Key", c_int32), ("Velocity", c_int32), ("Open", c_int32),
                ("Reserved", c_int32)]


class ZorHearFrame(Structure):
    _fields_ = [("Begin", c_double), ("Frequency", c_double), ("Peak", c_double), ("Level", c_int32),
                ("Reserved", c_int32)]


class ZorHearScoreOptions(Structure):
    _fields_ = [("Title", c_char_p), ("Meter", c_char_p), ("Key", c_char_p), ("Grid", c_char_p),
                ("QuartersPerMinute", c_double), ("Pickup", c_double), ("Plain", c_int32),
                ("Reserved", c_int32)]


def _load(name: str, functions: dict = {}) -> ctypes.CDLL:
    """The library inside the package, else the system's. functions: result and arguments of each."""
    inside = pathlib.Path(__file__).with_name(name)
    try:
        library = ctypes.CDLL(str(inside) if inside.exists() else name)
    except OSError as error:
        raise ZorMidiError(f"{name} cannot be loaded: {error}. Install zormidi, or its wheel.") from None
    for function, (result, *arguments) in functions.items():
        getattr(library, function).restype = result
        getattr(library, function).argtypes = arguments
    return library


@functools.cache
def hearing() -> ctypes.CDLL:
    """libzorhearing, loaded when it is first needed."""
    for name in ("libgomp.so.1", "libsoxr.so.0"):  # what it links, inside a wheel
        if pathlib.Path(__file__).with_name(name).exists():
            _load(name)
    listener = c_int64
    return _load("libzorhearing.so.1", {
        "ZorHearVersion": (c_char_p,), "ZorHearError": (c_char_p,),
        "ZorHearOpen": (listener, c_int32, c_int32, c_int32, c_int32),
        "ZorHearSetTuning": (c_int32, listener, c_double), "ZorHearTuning": (c_double, listener),
        "ZorHearFeed": (c_int32, listener, c_void_p, c_int32), "ZorHearFinish": (c_int32, listener),
        "ZorHearNextNote": (c_int32, listener, POINTER(ZorHearNote)),
        "ZorHearNextFrame": (c_int32, listener, POINTER(ZorHearFrame)), "ZorHearClose": (c_int32, listener),
        "ZorHearMusicXml": (c_int64, c_void_p, c_size_t, POINTER(ZorHearScoreOptions), c_void_p, c_size_t),
        "ZorHearMidiFile": (c_int64, c_void_p, c_size_t, c_double, c_void_p, c_size_t)})


@functools.cache
def midi() -> ctypes.CDLL:
    """libzormidi, loaded when it is first needed."""
    return _load("libzormidi.so.4", {
        "MIDISysInit": (c_int16, c_uint8), "MIDISysTerm": (c_uint8,), "ZorStartMIDI": (c_uint8, c_uint8),
        "ZorStopMIDI": (c_uint8,), "ZorAllocMIDI": (c_uint8, c_int16, c_int16),
        "ZorXmit": (c_uint8, c_uint16, POINTER(MIDIEvent)), "ZorXmitEmpty": (c_uint8, c_uint8),
        "ZorRcv": (c_uint8, POINTER(MIDIEvent), c_uint8), "ZorTimeMIDI": (c_int32, c_uint8),
        "ZorKillMIDI": (None,)})


@functools.cache
def machine() -> ctypes.CDLL:
    """libzorplatform, which has the devices."""
    midi()
    return _load("libzorplatform.so.4", {
        "ZorMachineDeviceName": (c_int32, c_int32, c_int32, c_char_p), "ZorMachineSettings": (None, c_char_p)})


def version() -> str:
    """Version of the libraries, "4.3.0"."""
    return hearing().ZorHearVersion().decode()
