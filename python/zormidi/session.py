# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""MIDI played at exact times, and received with time stamps."""
from __future__ import annotations

import ctypes
import dataclasses
import pathlib
import tempfile
import threading
import time as clock
from typing import Iterator, List, Optional, Sequence

from . import _libraries
from ._libraries import MIDIEvent

_INPUT, _OUTPUT, _NOW = 0, 1, 0xFFFF
_SLOTS = 8192
_PORTS = 8


class SessionError(_libraries.ZorMidiError):
    """A port cannot be opened, or there is no session."""


@dataclasses.dataclass(frozen=True)
class Message:
    """A MIDI message with a time."""
    time: int  # milliseconds since the session began
    status: int  # 0x80 to 0xFF; of channel messages without the channel
    data1: int = 0
    data2: int = 0
    channel: int = 0  # 0 to 15 on the first port, 16 to 31 on the second, and so on


def inputs() -> List[str]:
    """Names of the MIDI inputs that are plugged in."""
    return _devices(0)


def outputs() -> List[str]:
    """Names of the MIDI outputs that are plugged in, the software synthesizer included."""
    return _devices(1)


def _devices(is_output: int) -> List[str]:
    names: List[str] = []
    name = ctypes.create_string_buffer(32)
    while _libraries.machine().ZorMachineDeviceName(is_output, len(names), name):
        names.append(name.value.decode(errors="replace"))
    return names


class Session:
    """Plays and receives; use it with `with`. A process has one at a time.

    inputs, outputs: names of up to 8 devices each, whole or the beginning of one; port n has the
    channels from 16 n. None: the ports of the user's settings. Any thread may send and receive.
    """
    _one = threading.Lock()

    def __init__(self, inputs: Optional[Sequence[str]] = None, outputs: Optional[Sequence[str]] = None):
        self._library = _libraries.midi()
        self._folder: Optional[tempfile.TemporaryDirectory] = None
        self._names = (inputs, outputs)
        self._is_open = False
        self._is_the_one = False

    def __enter__(self) -> "Session":
        if not Session._one.acquire(blocking=False):
            raise SessionError("There is a session already: close it first.")
        self._is_the_one = True
        try:
            self._choose_ports()
            self._start()
        except BaseException:
            self._end()
            raise
        return self

    def _choose_ports(self) -> None:
        if self._names == (None, None):
            return
        if any(isinstance(names, str) for names in self._names):
            raise SessionError('Ports are a list of names: outputs=["Loopback"].')
        lines = ["[MMEDRVR]"]
        for kind, chosen, present in (("In", self._names[0], inputs()), ("Out", self._names[1], outputs())):
            if len(chosen or ()) > _PORTS:
                raise SessionError(f"There are {_PORTS} ports in each direction, not {len(chosen or ())}.")
            for number in range(1, _PORTS + 1):
                name = _match(chosen[number - 1], present) if chosen and number <= len(chosen) else ""
                lines += [f"{kind}Name{number}={name}", f"{kind}Base{number}={16 * (number - 1)}"]
        self._folder = tempfile.TemporaryDirectory(prefix="zormidi-")
        pathlib.Path(self._folder.name, "ZORMIDI.INI").write_bytes("\r\n".join(lines + [""]).encode())
        _libraries.machine().ZorMachineSettings(self._folder.name.encode())

    def _start(self) -> None:
        if self._library.MIDISysInit(0) != -1:
            raise SessionError("MIDI cannot be initialised: another part of this program uses the library.")
        self._is_open = True
        for queue in (_INPUT, _OUTPUT):
            if not self._library.ZorAllocMIDI(queue, _SLOTS):
                raise SessionError("There is not enough memory for the queues.")
        if not self._library.ZorStartMIDI(1):
            raise SessionError("A port cannot be opened; the reason was printed. "
                               "`zorhost devices` lists the devices.")

    def close(self) -> None:
        """Ends the session; notes that sound are ended."""
        if self._is_open:
            self._library.ZorKillMIDI()
        self._end()

    def _end(self) -> None:
        if self._is_open:
            self._library.ZorStopMIDI()
            self._library.MIDISysTerm()
        self._is_open = False
        if self._folder:
            _libraries.machine().ZorMachineSettings(None)
            self._folder.cleanup()
            self._folder = None
        if self._is_the_one:
            self._is_the_one = False
            Session._one.release()

    def __exit__(self, *_: object) -> None:
        self.close()

    @property
    def time(self) -> int:
        """Milliseconds since the session began."""
        return self._library.ZorTimeMIDI(0)

    def send(self, status: int, data1: int = 0, data2: int = 0, channel: int = 0) -> None:
        """Sends a message now."""
        self._transmit(_NOW, Message(0, status, data1, data2, channel))

    def schedule(self, message: Message) -> None:
        """Sends a message at its time. Messages come in ascending order of time; waits while 8,191 are
        queued."""
        self._transmit(_OUTPUT, message)

    def note(self, key: int, seconds: float = 0.5, velocity: int = 96, channel: int = 0) -> None:
        """Plays a note and waits for its end."""
        self.send(0x90, key, velocity, channel)
        try:
            clock.sleep(seconds)
        finally:
            self.send(0x80, key, 64, channel)

    def wait(self) -> None:
        """Waits until all that was scheduled has been sent."""
        self._require_open()
        while not self._library.ZorXmitEmpty(0):
            clock.sleep(0.002)

    def receive(self, seconds: Optional[float] = None) -> Iterator[Message]:
        """The messages received so far, or with a number of seconds all that come in that time."""
        self._require_open()
        end = clock.monotonic() + (seconds or 0)
        event = MIDIEvent()
        while True:
            while self._library.ZorRcv(event, 0):
                yield Message(event.Time, event.Status, event.Data1, event.Data2, event.Channel)
            if clock.monotonic() >= end:
                return
            clock.sleep(0.002)

    def _transmit(self, queue: int, message: Message) -> None:
        self._require_open()
        if not 0x80 <= message.status <= 0xFF or not (0 <= message.data1 <= 127 and 0 <= message.data2 <= 127):
            raise SessionError(f"{message} is no MIDI message: status 128 to 255, data 0 to 127.")
        if message.status in (0xF0, 0xF7):
            raise SessionError("System-exclusive messages are not sent.")
        if not 0 <= message.time < 2**31:
            raise SessionError(f"{message.time} ms is not 0 to 2147483647.")
        status = message.status & 0xF0 if message.status < 0xF0 else message.status
        channel = message.channel + (message.status & 15 if message.status < 0xF0 else 0)
        if not 0 <= channel < 16 * _PORTS:
            raise SessionError(f"Channel {channel} is not 0 to {16 * _PORTS - 1}.")
        event = MIDIEvent(message.time, 0, channel, _data_bytes(status), status, message.data1, message.data2)
        while not self._library.ZorXmit(queue, event):
            if queue == _NOW:
                raise SessionError("The output refused the message.")
            clock.sleep(0.005)

    def _require_open(self) -> None:
        if not self._is_open:
            raise SessionError("The session is not open: use it in a `with` block.")


def _data_bytes(status: int) -> int:
    if status < 0xF0:
        return 1 if status in (0xC0, 0xD0) else 2
    return {0xF1: 1, 0xF2: 2, 0xF3: 1}.get(status, 0)


def _match(name: str, present: List[str]) -> str:
    for each in present:
        if each == name:
            return each
    begins = [each for each in present if each.startswith(name)]
    if len(begins) == 1:
        return begins[0]
    raise SessionError(f'There is no device "{name}"; there are: {", ".join(present) or "none"}.')
