# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""The notes that the ear's library finds in made sounds, by the package's Listener."""
import array
import cmath
import itertools
import math
import unittest

import zormidi

KEYS = [60, 62, 64, 66, 68, 70, 72, 74]
REED = (0.4, 0.2, 0.1)


def scale(rate, keys=KEYS, harmonics=REED):
    """Each key for 0.3 s after a pause of 0.1 s. harmonics: amplitude and phase of each."""
    sound = array.array("f")
    for key in keys:
        turn = 2j * math.pi * 440 * 2 ** ((key - 69) / 12) / rate
        sound.extend([0] * (rate // 10))
        sound.extend(sum((each * cmath.exp(turn * number * i)).imag for number, each in enumerate(harmonics, 1))
                     for i in range(3 * rate // 10))
    return sound


def hear(sound, rate, channels=1, live=True, block=100_000):
    """The keys; the notes, of which a live listener gives each twice; level and pitch at the end."""
    notes = []
    with zormidi.Listener(rate, channels, live=live) as listener:
        for at in range(0, len(sound), block * channels):
            listener.feed(sound[at:at + block * channels])
            if live:
                notes += listener.notes()
        listener.finish()
        listener._read_frames()
        notes += listener.notes()
        return [note.key for note in notes if not note.open], notes, listener.level, listener.pitch


class Hearing(unittest.TestCase):
    def test_blocks_of_any_size_and_format_give_the_same_and_damaged_samples_are_silence(self):
        for rate, live in itertools.product((8000, 22050, 48000, 192000), (True, False)):
            with self.subTest(rate=rate, live=live):
                integers = array.array("h", (round(each * 32768) for each in scale(rate)))
                floats = array.array("f", (each / 32768 for each in integers))
                whole = hear(integers, rate, live=live)
                self.assertEqual(whole[0], KEYS)
                self.assertEqual(len(whole[1]), 16 if live else 8)
                for note in whole[1]:
                    self.assertAlmostEqual(note.onset, 0.1 + 0.2 * (note.key - 60), delta=0.03)
                for i in range(rate // 10):
                    floats[i] = (math.nan, math.inf, -math.inf, 3e38, -1e11)[i % 5]
                for block in (1 if rate == 8000 else 37, 5000, 100_000):
                    self.assertEqual(hear(floats, rate, live=live, block=block), whole)
                self.assertEqual(hear(array.array("h", [-32768]) * rate, rate, live=live)[1], [])
                self.assertEqual(hear([], rate, 64, live)[1], [])

    def test_notes_below_loud_overtones_and_in_channels_are_heard(self):
        # A clarinet's, of which the recogniser takes the third or the second harmonic for the note; three channels;
        # two that cancel each other, of which a take has the louder.
        low = cmath.rect(0.09, 1.6), cmath.rect(0.05, 2.2), cmath.rect(0.33, -0.1), 0.07, cmath.rect(0.25, 0.8)
        high = cmath.rect(0.13, 1.6), cmath.rect(0.45, 2.2), cmath.rect(0.2, -0.7)
        for keys, harmonics, gains, modes in (
                ([74, 76, 78], low, [1], (False, True)), ([81, 83], high, [1], (False, True)),
                (KEYS, REED, [1.5, 1, 0.5], (False, True)), (KEYS, REED, [1, -0.9], [False]), (KEYS, REED, [-0.9, 1], [False])):
            sound = array.array("f", (gain * each for each in scale(44100, keys, harmonics) for gain in gains))
            for live in modes:
                heard = hear(sound, 44100, len(gains), live, 999)
                self.assertEqual(heard[0], keys, gains)
                self.assertGreater(heard[2], 0.4)

    def test_a_listener_holds_the_last_frames_and_its_tuning(self):
        with zormidi.Listener(22050, tuning=40) as listener:
            listener.feed(10 * scale(22050))
            self.assertAlmostEqual(listener.pitch, 74, delta=0.1)
            self.assertAlmostEqual(list(listener.notes())[1].cents, -40, delta=5)
