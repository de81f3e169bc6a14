#!/usr/bin/env python3
"""Updates that go wrong. The launcher is trusting by design: each run must still end by itself, with code 0."""

import random
import time
import unittest

from desktop import wait_for
from launcher import CHANGELOG, NOTICE_UPDATE, UPDATE, VERSION, Launcher, update_archive
from test_check import ProgramTest
from updateserver import UpdateServer, page


def cut(data):
    return page(data)[:-len(data) // 2]


def serving(update):
    return UpdateServer({VERSION: page(b"18"), CHANGELOG: page(b""), UPDATE: update})


class FaultyUpdates(ProgramTest):
    def test_any_download_counts_as_an_update(self):
        good = update_archive("new")
        noise = random.Random(7).randbytes(100000).hex()  # deflates to a little more than half
        large = page(update_archive("new", [("Vantorel.app/big", noise)]))
        self.assertLess(len(large), 190000)
        cases = [
            # what is wrong, the server's answer, the file size limit, the target that starts
            ("cut download", cut(good), None, None),
            ("error page", page(b"<html>oops</html>", "500 Oops"), None, None),
            ("empty answer", page(b""), None, None),
            ("no target inside", page(update_archive(None, [("splash", "a picture")])), None, None),
            ("disk full while downloading", large, 4096, None),
            ("disk full while unpacking", large, 190000, "new"),
        ]
        for name, update, limit, target in cases:
            with self.subTest(name), Launcher(self.desktop) as launcher, serving(update):
                self.accept(launcher, file_limit=limit)
                self.assertEqual(launcher.finish(), 0, launcher.errors)
                self.assertEqual(launcher.wait_started() if target else launcher.started(), target)
                self.assertFalse((launcher.folder / "Vantorel.zip").exists())
                self.assertEqual((launcher.folder / "version").read_text(), "mac_18")
                self.assertEqual((launcher.folder / "splash").exists(), name == "no target inside")

    def test_a_folder_that_cannot_be_written_leaves_the_splash_standing(self):
        with Launcher(self.desktop) as launcher, serving(page(update_archive("new"))) as server:
            launcher.install("17", "old")
            launcher.folder.chmod(0o555)
            self.accept(launcher, as_nobody=True)
            # The download has no file to go to, so nothing more happens, not even a hand-over: by design.
            wait_for(lambda: not self.desktop.windows(NOTICE_UPDATE), "the notice to go")
            time.sleep(4)
            self.assertIsNone(launcher.process.poll())
            self.assertIsNone(launcher.started())
            self.assertEqual(server.paths(), [VERSION, CHANGELOG])
            self.assertEqual((launcher.folder / "version").read_text(), "mac_17")


if __name__ == "__main__":
    unittest.main(verbosity=2)
