# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""Notes from sound, and MIDI in time.

    import zormidi
    for note in zormidi.transcribe("song.wav"):
        print(note.onset, note.name)

    with zormidi.Session() as session:
        session.note(60, seconds=1)
"""
from ._libraries import ZorMidiError, version
from .hearing import (Failure, HearingError, Listener, Note, Notes, transcribe, transcribe_many)
from .session import Message, Session, SessionError, inputs, outputs

__all__ = ["Failure", "HearingError", "Listener", "Message", "Note", "Notes", "Session", "SessionError",
           "ZorMidiError", "inputs", "outputs", "transcribe", "transcribe_many", "version"]
__version__ = version()
