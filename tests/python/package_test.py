# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""The installed package: notes equal to zorhost's, wrong input, live blocks, MIDI over a loopback cable."""
import array
import contextlib
import dataclasses
import io
import math
import os
import pathlib
import pickle
import re
import subprocess
import unittest

import zormidi

from .hearing_test import hear

MELODY = "examples/melody.flac"


def run(*command):
    return subprocess.run(command, check=True, capture_output=True).stdout


def zorhost(*options):
    """The lines of the notes, and all that is printed."""
    printed = run(os.environ["ZORHOST"], "transcribe", "--json", *options).decode()
    return re.findall('{"kind":"note".*', printed), printed


def as_lines(notes):
    return [f'{{"kind":"note","start":{note.onset:.3f},"end":{note.end:.3f},"key":{note.key},"name":"{note.name}",'
            f'"velocity":{note.velocity},"cents":{note.cents:.3f},"confidence":{note.confidence:.3f}}}' for note in notes]


def setUpModule():
    os.mkdir("takes")
    for name in ("song.wav", "takes/a.wav", "takes/b.wav"):
        run("sox", MELODY, "-b", "16", name)


class Hearing(unittest.TestCase):
    def test_notes_files_and_tuning_are_those_of_zorhost(self):
        notes = zormidi.transcribe("song.wav")
        expected, printed = zorhost("song.wav", "-o", "z.mid", "--score", "z.musicxml", "--meter", "3/4", "--tempo", "96")
        self.assertEqual(as_lines(notes), expected)
        self.assertIn(f'"notes":30,"seconds":18.691,"complete":true,"a4":{440 * 2 ** (notes.tuning / 1200):.3f}', printed)
        self.assertEqual(notes.midi(tempo=96), pathlib.Path("z.mid").read_bytes())
        self.assertEqual(notes.musicxml(title="song", meter="3/4", tempo=96), pathlib.Path("z.musicxml").read_text())
        copy = pickle.loads(pickle.dumps(notes))
        self.assertEqual((copy, copy.tuning), (notes, notes.tuning))

    def test_a_live_listener_hears_what_listen_hears(self):
        _, heard, _, _ = hear(array.array("h", run("sox", MELODY, "-t", "s16", "-")), 22050, block=777)
        self.assertEqual(as_lines(note for note in heard if not note.open), zorhost(MELODY, "--as-listen")[0])

    def test_wav_files_of_every_kind_and_arrays_give_one_note(self):
        for kind in ("-b 8", "-b 24", "-b 32", "-b 32 -e floating-point", "-b 64 -e floating-point", "-b 16 -c 2"):
            run("sox", "-n", "-r", "44100", *kind.split(), "tone.wav", "synth", "1", "sine", "440", "vol", "0.5")
            self.assertEqual([note.key for note in zormidi.transcribe("tone.wav")], [69], kind)
        tone = run("sox", "tone.wav", "-t", "s16", "-c", "1", "-")
        sounds = [tone, [each / 32768 for each in array.array("h", tone)]]
        with contextlib.suppress(ImportError):
            import numpy
            sounds.append(numpy.array([sounds[1], sounds[1]]).T)
        for sound in sounds:
            self.assertEqual([note.key for note in zormidi.transcribe(sound, 44100)], [69])

    def test_wrong_input_is_an_error_that_names_it(self):
        pathlib.Path("text.wav").write_text("no sound")
        closed = zormidi.Listener(44100)
        closed.close()
        good = zormidi.Note(0, 1, 60, 0, 60, 1, 1)
        for reason, call, *arguments in (
                ("missing.wav", zormidi.transcribe, "missing.wav"),
                ("text.wav", zormidi.transcribe, "text.wav"),
                ("rate", zormidi.transcribe, [0.0]),
                ("type", zormidi.transcribe, array.array("i", [1]), 44100),
                ("from 8000", zormidi.Listener, 2**32 + 44100),
                ("channels", zormidi.Listener(44100, 2).feed, b"123"),
                ("not open", closed.feed, b"12"),
                ("no note", zormidi.Notes().midi),
                ("tempo", zormidi.Notes([good]).midi, None, math.nan)):
            self.assertRaisesRegex(zormidi.ZorMidiError, reason, call, *arguments)
        self.assertRaisesRegex(zormidi.ZorMidiError, "meter", zormidi.Notes([good]).musicxml, meter="7/5")
        for change in ({"key": 128}, {"key": -1}, {"onset": math.nan}, {"end": 1e300}):
            notes = zormidi.Notes([dataclasses.replace(good, **change)])
            for write in (notes.midi, notes.musicxml):
                self.assertRaisesRegex(zormidi.ZorMidiError, "A note's", write)
        pathlib.Path("cut.wav").write_bytes(pathlib.Path("song.wav").read_bytes()[:-2])
        song, text, cut = zormidi.transcribe_many(["song.wav", "text.wav", "cut.wav"], processes=2)
        self.assertEqual(len(song), 30)
        self.assertIn("text.wav", text.reason)
        self.assertIn("cut off", cut.reason)


class Midi(unittest.TestCase):
    def test_scheduled_messages_come_back_in_order_at_their_times(self):
        with zormidi.Session(inputs=["Loop"], outputs=["Loopback"]) as session:
            for beat, key in enumerate((60, 64, 67)):
                session.schedule(zormidi.Message(50 * beat, 0x90, key, 96, channel=3))
            session.send(0xC0, 5)
            session.wait()
            heard = [each for each in session.receive(0.5) if each.status in (0x90, 0xC0)]
            self.assertEqual(sorted((each.data1, each.channel) for each in heard), [(5, 0), (60, 3), (64, 3), (67, 3)])
            times = [each.time for each in heard if each.status == 0x90]
            self.assertTrue(all(time >= 50 * beat for beat, time in enumerate(times)))
            zormidi.Session().close()  # one that was never open leaves the open one its place
            self.assertRaisesRegex(zormidi.SessionError, "session already", zormidi.Session().__enter__)
            self.assertRaisesRegex(zormidi.SessionError, "no MIDI message", session.send, 0x90, 128)
            self.assertRaisesRegex(zormidi.SessionError, "ms is not", session.schedule, zormidi.Message(2**32, 0x90, 60))
        self.assertRaisesRegex(zormidi.SessionError, "Loopback", zormidi.Session(outputs=["no such device"]).__enter__)
        zormidi.Session(outputs=["Loopback"]).__enter__().close()


class Documents(unittest.TestCase):
    def test_their_examples_run(self):
        for document in ("README.md", "docs/python.md"):
            blocks = re.findall(r"```python\n(.*?)```", pathlib.Path(document).read_text(), re.S)
            self.assertTrue(blocks, document)
            for block in blocks:
                with contextlib.redirect_stdout(io.StringIO()) as output:
                    exec(block, {"__name__": "example", "blocks": [array.array("f", bytes(88200))]})
                self.assertTrue(output.getvalue().strip(), block)
