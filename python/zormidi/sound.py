# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""Samples from files and arrays."""
from __future__ import annotations

import array
import os
import struct
import sys
from typing import Any, Tuple, Union

from ._libraries import ZorMidiError

_PCM, _FLOAT, _EXTENSIBLE = 1, 3, 0xFFFE


class SoundError(ZorMidiError):
    """The file cannot be read, or is no sound."""


class _UnknownKind(SoundError):
    """The file may be one that soundfile reads."""


def read_sound(path: Union[str, os.PathLike]) -> Tuple[Any, int, int]:
    """Samples as sound_bytes takes them, rate in Hz and number of channels of a file.

    A WAV file of plain samples is read here even if soundfile is there, which reads a cut file without an error.
    """
    name = os.fspath(path)
    try:
        return _read_wav(name)
    except _UnknownKind as error:
        try:
            import soundfile
        except ImportError:
            raise SoundError(str(error)) from None
    try:
        samples, rate = soundfile.read(name, dtype="float32", always_2d=True)
    except Exception as error:
        raise SoundError(f'"{name}" cannot be read: {error}') from None
    return samples, rate, samples.shape[1]


def sound_bytes(samples: Any) -> Tuple[bytes, int]:
    """Bytes as the library takes them, and their format: 0 for 16-bit integers, 1 for 32-bit floats."""
    if isinstance(samples, (bytes, bytearray, memoryview)):
        return bytes(samples), 0
    if isinstance(samples, array.array):
        if samples.typecode == "h":
            return samples.tobytes(), 0
        if samples.typecode not in "fd":
            raise SoundError(f'Samples of type "{samples.typecode}" are not known: convert them to float or int16.')
        return (samples if samples.typecode == "f" else array.array("f", samples)).tobytes(), 1
    kind = getattr(samples, "dtype", None)
    if kind is None:
        return array.array("f", samples).tobytes(), 1
    if kind.kind == "i" and kind.itemsize == 2:
        return samples.astype("<i2", copy=False).tobytes(), 0
    if kind.kind == "f":
        return samples.astype("<f4", copy=False).tobytes(), 1
    raise SoundError(f"Samples of type {kind} are not known: convert them to float or int16.")


def _read_wav(name: str) -> Tuple[Any, int, int]:
    try:
        with open(name, "rb") as file:
            data = file.read()
    except OSError as error:
        raise SoundError(f'"{name}" cannot be read: {error.strerror}') from None
    if data[:4] != b"RIFF" or data[8:12] != b"WAVE":
        raise _UnknownKind(f'"{name}" is no WAV file. For other kinds install the package soundfile.')
    layout, at = None, 12
    while at + 8 <= len(data):
        kind, size = struct.unpack_from("<4sI", data, at)
        body = data[at + 8:at + 8 + size]
        if kind == b"fmt " and len(body) >= 16:
            layout = struct.unpack_from("<HHIIHH", body)
            if layout[0] == _EXTENSIBLE and len(body) >= 26:
                layout = (struct.unpack_from("<H", body, 24)[0],) + layout[1:]
        elif kind == b"data" and layout:
            if len(body) < size < 0xFFFFFFF0:
                raise SoundError(f'"{name}" is cut off: {len(body)} of {size} bytes of sound are there.')
            return _decode(name, body, *layout)
        at += 8 + size + size % 2
    raise SoundError(f'"{name}" has no sound in it.')


def _decode(name: str, body: bytes, kind: int, channels: int, rate: int, _: int, frame: int, bits: int):
    if channels < 1 or frame < 1 or (kind, bits) not in ((_PCM, 8), (_PCM, 16), (_PCM, 24), (_PCM, 32),
                                                         (_FLOAT, 32), (_FLOAT, 64)):
        raise _UnknownKind(f'"{name}" has samples of an unknown kind. Install the package soundfile.')
    body = body[:len(body) - len(body) % frame]
    if kind == _PCM and bits == 16:
        return body, rate, channels
    if kind == _PCM and bits == 8:
        return array.array("f", ((byte - 128) / 128 for byte in body)), rate, channels
    if kind == _PCM and bits == 24:  # to 32 bits, with a lowest byte of 0
        wide = bytearray(len(body) // 3 * 4)
        wide[1::4], wide[2::4], wide[3::4] = body[0::3], body[1::3], body[2::3]
        body, bits = bytes(wide), 32
    samples = array.array({(_PCM, 32): "i", (_FLOAT, 32): "f", (_FLOAT, 64): "d"}[kind, bits])
    samples.frombytes(body)
    if sys.byteorder == "big":
        samples.byteswap()
    if kind == _PCM:
        samples = array.array("f", (sample / 2147483648 for sample in samples))
    return samples, rate, channels
