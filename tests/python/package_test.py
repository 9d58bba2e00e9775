# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""The installed package: notes equal to zorhost's, wrong input, live blocks, MIDI over a loopback cable."""
import array
import contextlib
import io
import json
import math
import os
import pathlib
import pickle
import re
import struct
import subprocess
import tempfile
import unittest

import zormidi

ZORHOST = os.environ["ZORHOST"]
MELODY = "examples/melody.flac"


def zorhost(*arguments):
    done = subprocess.run([ZORHOST, *arguments], check=True, capture_output=True, text=True)
    return [json.loads(line) for line in done.stdout.splitlines() if line.startswith("{")]


def wav(path, samples, rate=44100, kind=1, bits=16, channels=1, announced=None):
    frame = channels * bits // 8
    layout = struct.pack("<4sIHHIIHH", b"fmt ", 16, kind, channels, rate, rate * frame, frame, bits)
    size = len(samples) if announced is None else announced
    data = b"WAVE" + layout + struct.pack("<4sI", b"data", size) + samples
    pathlib.Path(path).write_bytes(b"RIFF" + struct.pack("<I", len(data)) + data)
    return path


def tone(seconds=1.0, rate=44100, frequency=440.0):
    return [0.5 * math.sin(2 * math.pi * frequency * i / rate) for i in range(int(seconds * rate))]


class Hearing(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.melody = cls.folder.name + "/melody.wav"
        subprocess.run(["sox", MELODY, "-b", "16", cls.melody], check=True)

    def test_notes_files_and_tuning_are_those_of_zorhost(self):
        notes = zormidi.transcribe(self.melody)
        lines = zorhost("transcribe", self.melody, "--json", "-o", "z.mid", "--score", "z.musicxml", "--meter", "3/4", "--tempo", "96")
        expected = [line for line in lines if line["kind"] == "note"]
        self.assertEqual(len(notes), 30)
        for note, line in zip(notes, expected, strict=True):
            self.assertEqual((f"{note.onset:.3f}", f"{note.end:.3f}", note.key, note.velocity, note.name),
                             (f'{line["start"]:.3f}', f'{line["end"]:.3f}', line["key"], line["velocity"], line["name"]))
            self.assertAlmostEqual(note.cents, line["cents"], delta=0.0006)
        self.assertEqual(notes.midi(tempo=96), pathlib.Path("z.mid").read_bytes())
        self.assertEqual(notes.musicxml(title="melody", meter="3/4", tempo=96), pathlib.Path("z.musicxml").read_text())
        a4 = next(line["a4"] for line in lines if line["kind"] == "summary")
        self.assertAlmostEqual(440 * 2 ** (notes.tuning / 1200), a4, places=3)
        copy = pickle.loads(pickle.dumps(notes))
        self.assertEqual((copy, copy.tuning), (notes, notes.tuning))

    def test_a_live_listener_hears_what_listen_hears(self):
        data = pathlib.Path(self.melody).read_bytes()[44:]
        expected = [(line["key"], f'{line["start"]:.3f}') for line in zorhost("transcribe", self.melody, "--as-listen", "--json")
                    if line["kind"] == "note"]
        rate = struct.unpack_from("<I", pathlib.Path(self.melody).read_bytes(), 24)[0]
        heard = []
        with zormidi.Listener(rate) as listener:
            for at in range(0, len(data), 2 * 777):
                listener.feed(data[at:at + 2 * 777])
                heard += listener.notes()
            listener.finish()
            heard += listener.notes()
        ended = [note for note in heard if not note.open]
        self.assertEqual([(note.key, f"{note.onset:.3f}") for note in ended], expected)
        self.assertEqual(len(heard), 2 * len(ended))

    def test_wav_files_of_every_kind_and_arrays_give_one_note(self):
        samples = tone()
        kinds = {"pcm8": (1, 8, bytes(round(128 + 127 * s) for s in samples)),
                 "pcm24": (1, 24, b"".join(struct.pack("<i", round(s * 8388607) << 8)[1:] for s in samples)),
                 "pcm32": (1, 32, array.array("i", (round(s * 2147483647) for s in samples)).tobytes()),
                 "float": (3, 32, array.array("f", samples).tobytes()), "double": (3, 64, array.array("d", samples).tobytes())}
        sounds = {name: (wav(f"{self.folder.name}/{name}.wav", data, kind=kind, bits=bits),)
                  for name, (kind, bits, data) in kinds.items()}
        sounds["list"] = (samples, 44100)
        with contextlib.suppress(ImportError):
            import numpy
            sounds["stereo"] = (numpy.array([samples, samples]).T, 44100)
        for name, sound in sounds.items():
            self.assertEqual([note.key for note in zormidi.transcribe(*sound)], [69], name)

    def test_wrong_input_is_an_error_that_names_it(self):
        whole = array.array("h", (round(s * 32767) for s in tone())).tobytes()
        text = self.folder.name + "/text.wav"
        closed = zormidi.Listener(44100)
        closed.close()
        pathlib.Path(text).write_text("no sound")
        for call, part in ((lambda: zormidi.transcribe("missing.wav"), "missing.wav"), (lambda: zormidi.transcribe(text), "text.wav"),
                           (lambda: zormidi.transcribe([0.0]), "rate"), (lambda: zormidi.Listener(100), "8000"),
                           (lambda: zormidi.Listener(2**32 + 44100), "rate"), (lambda: zormidi.transcribe(array.array("i", [1]), 44100), "type"),
                           (lambda: zormidi.Notes().midi(), "no note"), (lambda: zormidi.Notes([zormidi.Note(0, 1, 60, 0, 60, 1, 1)]).musicxml(meter="7/5"), "meter"),
                           (lambda: zormidi.Listener(44100, 2).feed(b"123"), "channels"), (lambda: closed.feed(b"12"), "not open")):
            with self.assertRaisesRegex(zormidi.ZorMidiError, part):
                call()
        good = wav(self.folder.name + "/good.wav", whole)
        silent = wav(self.folder.name + "/silent.wav", bytes(88200))
        cut = wav(self.folder.name + "/cut.wav", whole, announced=2 * len(whole))
        results = zormidi.transcribe_many([good, text, silent, cut], processes=2)
        self.assertEqual([isinstance(each, zormidi.Failure) for each in results], [False, True, False, True])
        self.assertIn("text.wav", results[1].reason)
        self.assertIn("cut off", results[3].reason)


class Midi(unittest.TestCase):
    def test_scheduled_messages_come_back_in_order_at_their_times(self):
        names = zormidi.outputs()
        self.assertIn("Loopback", names)
        with zormidi.Session(inputs=["Loop"], outputs=["Loopback"]) as session:
            for beat, key in enumerate((60, 64, 67)):
                session.schedule(zormidi.Message(50 * beat, 0x90, key, 96, channel=3))
            session.send(0xC0, 5)
            session.wait()
            heard = [each for each in session.receive(0.5) if each.status in (0x90, 0xC0)]
            self.assertEqual(sorted((each.data1, each.channel) for each in heard), [(5, 0), (60, 3), (64, 3), (67, 3)])
            times = [each.time for each in heard if each.status == 0x90]
            self.assertTrue(all(time >= 50 * beat for beat, time in enumerate(times)))
            with self.assertRaisesRegex(zormidi.SessionError, "session already"):
                zormidi.Session().close()  # one that was never open leaves the open one its place
                zormidi.Session().__enter__()
            with self.assertRaisesRegex(zormidi.SessionError, "no MIDI message"):
                session.send(0x90, 128)
            with self.assertRaisesRegex(zormidi.SessionError, "ms is not"):
                session.schedule(zormidi.Message(2**32, 0x90, 60))
        with self.assertRaisesRegex(zormidi.SessionError, "Loopback"):
            zormidi.Session(outputs=["no such device"]).__enter__()
        with zormidi.Session(outputs=["Loopback"]) as session:
            session.send(0x90, 60, 1)


class Documents(unittest.TestCase):
    def test_their_examples_run(self):
        os.makedirs("takes", exist_ok=True)
        for name in ("song.wav", "takes/a.wav", "takes/b.wav"):
            subprocess.run(["sox", MELODY, "-b", "16", name], check=True)
        for document in os.environ["DOCUMENTS"].split():
            blocks = re.findall(r"```python\n(.*?)```", pathlib.Path(document).read_text(), re.S)
            self.assertTrue(blocks, document)
            for block in blocks:
                output = io.StringIO()
                with contextlib.redirect_stdout(output):
                    exec(block, {"__name__": "example", "blocks": [array.array("f", tone())]})
                self.assertTrue(output.getvalue().strip(), block)


if __name__ == "__main__":
    unittest.main()
