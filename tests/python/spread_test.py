# SPDX-FileCopyrightText: 2026 The zormidi authors
# SPDX-License-Identifier: MIT
"""A corpus on two worker processes of Dask: 1,000 clips, one of them cut off and one no sound."""
import pathlib
import random
import unittest

import distributed
import zormidi

from .package_test import MELODY, as_lines, run, zorhost


class Spread(unittest.TestCase):
    def test_each_clip_gives_the_notes_of_zorhost_or_an_error(self):
        run("sox", *[MELODY] * 107, "-b", "16", "clip.wav", "trim", "0", "2", ":", "newfile", ":", "restart")
        paths = sorted(str(path.resolve()) for path in pathlib.Path().glob("clip*.wav"))
        cut, no = map(pathlib.Path, (paths[400], paths[700]))
        cut.write_bytes(cut.read_bytes()[:20000])
        no.write_text("This is no sound.")
        with (distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster,
              distributed.Client(cluster) as client):
            futures = client.map(zormidi.transcribe, paths)
            distributed.wait(futures)
            errors = [str(each.exception()) for each in futures if each.status == "error"]
            heard = {path: each.result() for path, each in zip(paths, futures) if each.status == "finished"}
        self.assertEqual((len(heard), len(errors)), (998, 2))
        self.assertRegex(errors[0], f"{cut.name}.*cut off")
        self.assertIn(no.name, errors[1])
        for path in random.Random(2).sample(sorted(heard), 100):
            self.assertEqual(as_lines(heard[path]), zorhost(path)[0], path)
