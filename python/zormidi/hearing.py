# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""Notes of one voice or melody instrument, from recordings and from live sound."""
from __future__ import annotations

import ctypes
import dataclasses
import os
from typing import Any, Iterable, Iterator, Optional, Union

from . import _libraries
from .sound import read_sound, sound_bytes

_INT16, _FLOAT32 = 0, 1
_TAKE, _LIVE = 0, 1
_NAMES = ("C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B")


class HearingError(_libraries.ZorMidiError):
    """The sound cannot be heard, or a value is out of range."""


@dataclasses.dataclass(frozen=True)
class Note:
    """A note that was heard."""
    onset: float  # seconds from the start of the sound
    end: float  # seconds from the start of the sound; provisional while open
    key: int  # MIDI note number, 0 to 127
    cents: float  # deviation of the pitch from the key in the recording's tuning, -50 to 50
    pitch: float  # MIDI note number with fractions, 69 for 440 Hz
    velocity: int  # 1 to 127
    confidence: float  # 0 to 1; 0 while open
    open: bool = False  # the note has not ended yet

    @property
    def name(self) -> str:
        """"A4", "C#5"; middle C is C4."""
        return f"{_NAMES[self.key % 12]}{self.key // 12 - 1}"


class Notes(list):
    """Notes by onset: a list of Note, and the tuning of the recording in cents above A4 = 440 Hz."""

    def __init__(self, notes: Iterable[Note] = (), tuning: float = 0.0):
        super().__init__(notes)
        self.tuning = tuning

    def __reduce__(self):
        return Notes, (list(self), self.tuning)

    def midi(self, path: Union[str, os.PathLike, None] = None, tempo: float = 120.0) -> bytes:
        """The notes as a MIDI file, written to path if there is one. tempo: quarter notes per minute."""
        notes = self._array()
        return _written(path, _copied(lambda target, size: _libraries.hearing().ZorHearMidiFile(
            notes, len(self), tempo, target, size), 0))

    def musicxml(self, path: Union[str, os.PathLike, None] = None, *, title: str = "Melody",
                 meter: Optional[str] = None, key: Optional[str] = None, grid: Optional[str] = None,
                 tempo: float = 0.0, pickup: float = -1.0, plain: bool = False) -> str:
        """The notes as a score, written to path if there is one.

        What is not given is found: meter "3/4", key "A minor", grid "8", "16" or "triplets", tempo and
        pickup in quarter notes (per minute, before the first bar line). plain: without colours for
        notes of low confidence.
        """
        texts = [text.encode() if text else None for text in (title, meter, key, grid)]
        options = _libraries.ZorHearScoreOptions(*texts, tempo, pickup, plain, 0)
        notes = self._array()
        data = _copied(lambda target, size: _libraries.hearing().ZorHearMusicXml(
            notes, len(self), options, target, size), 1)
        return _written(path, data).decode()

    def to_numpy(self):
        """A structured array with a field for each member of Note. Needs numpy."""
        import numpy
        fields = [(field.name, {"float": "f8", "int": "i4", "bool": "?"}[field.type])
                  for field in dataclasses.fields(Note)]
        return numpy.array([dataclasses.astuple(note) for note in self], dtype=fields)

    def to_pandas(self):
        """A table with a row for each note. Needs pandas."""
        import pandas
        columns = [field.name for field in dataclasses.fields(Note)]
        return pandas.DataFrame([dataclasses.astuple(note) for note in self], columns=columns)

    def _array(self):
        return (_libraries.ZorHearNote * max(1, len(self)))(*(
            _libraries.ZorHearNote(note.onset, note.end, note.pitch, note.cents, note.confidence, note.key,
                                   note.velocity, note.open, 0) for note in self))


class Listener:
    """Finds notes in live sound block by block; use it with `with`. For one thread at a time.

    rate: 8000 to 192000 Hz. live: each note is given twice, open when it begins and again when it has
    ended, 93 ms after the sound; else the notes of the whole sound come after finish(). tuning: how
    much sharper than 440 Hz A4 is, in cents; None: 0 live, else found.
    """

    def __init__(self, rate: int, channels: int = 1, *, live: bool = True, tuning: Optional[float] = None):
        self._library = _libraries.hearing()
        self._channels = channels
        self._mode = _LIVE if live else _TAKE
        if not 8000 <= rate <= 192000 or rate != int(rate):
            raise HearingError(f"The rate is not a whole number from 8000 to 192000 Hz: {rate}.")
        self._rate = int(rate)
        self._tuning = tuning
        self._handle = 0
        self._is_fed = False
        self.level = 0.0  # peak of the input in the last 23 ms, 1 is full scale
        self.pitch: Optional[float] = None  # MIDI note number with fractions, at the end of what was fed
        self._open(_FLOAT32)

    def _open(self, sample_format: int) -> None:
        self.close()
        self._handle = _checked(self._library.ZorHearOpen(self._rate, self._channels, sample_format, self._mode))
        self._sample_format = sample_format
        if self._tuning is not None:
            _checked(self._library.ZorHearSetTuning(self._handle, self._tuning))

    def feed(self, samples: Any) -> None:
        """Adds sound: a numpy array (count, or count x channels; float -1 to 1 or int16), an array.array,
        or bytes of interleaved 16-bit samples. All blocks have samples of one kind."""
        data, sample_format = sound_bytes(samples)
        if self._handle and sample_format != self._sample_format:
            if self._is_fed:
                raise HearingError("The samples are of another kind than those before: feed one kind.")
            self._open(sample_format)
        self._is_fed = True
        frame = self._channels * (4 if sample_format == _FLOAT32 else 2)
        if len(data) % frame:
            raise HearingError(f"The samples are not a whole number of {self._channels} channels.")
        _checked(self._library.ZorHearFeed(self._handle, data, len(data) // frame))
        if self._mode == _LIVE:
            self._read_frames()

    def finish(self) -> None:
        """Ends the sound: its last notes can be read then."""
        _checked(self._library.ZorHearFinish(self._handle))

    def notes(self) -> Iterator[Note]:
        """The notes that are new since the last call."""
        note = _libraries.ZorHearNote()
        while _checked(self._library.ZorHearNextNote(self._handle, note)):
            yield Note(note.Onset, note.End, note.Key, note.Cents, note.Pitch, note.Velocity, note.Confidence,
                       bool(note.Open))

    __iter__ = notes

    @property
    def tuning(self) -> float:
        """How much sharper than 440 Hz A4 is, in cents."""
        return self._library.ZorHearTuning(self._handle)

    def close(self) -> None:
        if self._handle:
            self._library.ZorHearClose(self._handle)
        self._handle = 0

    def __enter__(self) -> "Listener":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_handle", 0):
            self.close()

    def _read_frames(self) -> None:
        import math
        frame = _libraries.ZorHearFrame()
        while _checked(self._library.ZorHearNextFrame(self._handle, frame)):
            self.level = frame.Peak
            self.pitch = 69 + 12 * math.log2(frame.Frequency / 440) if frame.Frequency > 0 else None


def transcribe(sound: Any, rate: Optional[int] = None, *, tuning: Optional[float] = None) -> Notes:
    """The notes of a recording: a path (WAV, and with the package soundfile whatever it reads), or samples
    as for Listener.feed with their rate in Hz; an array's second dimension is its channels."""
    channels = 1
    if isinstance(sound, (str, os.PathLike)):
        sound, rate, channels = read_sound(sound)
    elif rate is None:
        raise HearingError("Samples need a rate: transcribe(samples, rate=44100).")
    elif getattr(sound, "ndim", 1) > 2:
        raise HearingError(f"Samples have one dimension or two, not {sound.ndim}.")
    elif getattr(sound, "ndim", 1) == 2:
        channels = sound.shape[1]
    with Listener(rate, channels, live=False, tuning=tuning) as listener:
        listener.feed(sound)
        listener.finish()
        return Notes(listener.notes(), listener.tuning)


@dataclasses.dataclass(frozen=True)
class Failure:
    """In place of the notes of a recording that cannot be read."""
    path: str
    reason: str


def _transcribe_one(path: str) -> Union[Notes, Failure]:
    try:
        return transcribe(path)
    except Exception as error:  # one broken file ends no other
        return Failure(str(path), str(error) or type(error).__name__)


def transcribe_many(paths: Iterable[Union[str, os.PathLike]], processes: Optional[int] = None) -> list:
    """The notes of many recordings, on all cores or on that many processes, in the order of the paths; for
    one that cannot be read a Failure. Shows a progress bar if the package tqdm is there."""
    import concurrent.futures
    names = [os.fspath(path) for path in paths]
    with concurrent.futures.ProcessPoolExecutor(processes) as pool:
        results = pool.map(_transcribe_one, names, chunksize=max(1, min(16, len(names) // 64)))
        try:
            import tqdm
        except ImportError:
            return list(results)
        return list(tqdm.tqdm(results, total=len(names), unit="file"))


def _checked(result: int) -> int:
    if result < 0:
        raise HearingError(_libraries.hearing().ZorHearError().decode())
    return result


def _copied(call, zeros: int) -> bytes:
    """What a function writes that returns the length that it needs; zeros: bytes of its terminator."""
    size = _checked(call(None, 0))
    buffer = ctypes.create_string_buffer(size + zeros)
    _checked(call(buffer, size + zeros))
    return buffer.raw[:size]


def _written(path: Union[str, os.PathLike, None], data: bytes) -> bytes:
    if path is not None:
        with open(path, "wb") as file:
            file.write(data)
    return data
