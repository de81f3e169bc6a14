#!/usr/bin/env python3
"""Updates that go wrong. The launcher is trusting by design: each run must still end by itself, with code 0."""

import random
import unittest

from launcher import CHANGELOG, NOTICE_INSTALL, NOTICE_UPDATE, UPDATE, VERSION, Launcher, update_archive
from test_check import ProgramTest
from updateserver import UpdateServer, page


def cut(data):
    return page(data)[:-len(data) // 2]


class UpdateUnderFaults(ProgramTest):
    def run_update(self, launcher, update, **options):
        title = NOTICE_UPDATE if (launcher.folder / "version").exists() else NOTICE_INSTALL
        with UpdateServer({VERSION: page(b"18"), CHANGELOG: page(b""), UPDATE: update}):
            launcher.start(**options)
            self.desktop.key(self.desktop.window(title, launcher.process), "Return")
            self.assertEqual(launcher.finish(), 0, launcher.errors)

    def test_what_is_no_good_archive_leaves_no_target(self):
        good = update_archive("new")
        cases = [("cut download", cut(good)), ("error page", page(b"<html>oops</html>", "500 Oops")),
                 ("empty answer", page(b"")), ("no target inside", page(update_archive("new")[:4] + b"junk" * 100))]
        for name, update in cases:
            with self.subTest(name), Launcher(self.desktop) as launcher:
                self.run_update(launcher, update)
                self.assertIsNone(launcher.started())
                self.assertFalse((launcher.folder / "Vantorel.zip").exists())
                self.assertEqual((launcher.folder / "version").read_text(), "mac_18")

    def test_a_bundle_with_content_stays_and_is_unpacked_over(self):
        with Launcher(self.desktop) as launcher:
            launcher.install("17", "old")
            mine = launcher.folder / "Vantorel.app/Contents/mine"
            mine.write_text("kept")
            self.run_update(launcher, page(update_archive("new")))
            self.assertEqual(launcher.wait_started(), "new")
            self.assertEqual(mine.read_text(), "kept")

    def test_the_archive_brings_a_splash(self):
        with Launcher(self.desktop) as launcher:
            self.run_update(launcher, page(update_archive("new", [("splash", "a picture")])))
            self.assertEqual((launcher.folder / "splash").read_text(), "a picture")

    def test_the_disk_is_full(self):
        noise = random.Random(7).randbytes(100000).hex()  # deflates to a little more than half
        with self.subTest("while unpacking"), Launcher(self.desktop) as launcher:
            update = update_archive("new", [("Vantorel.app/big", noise)])
            self.assertLess(len(update), 190000)
            self.run_update(launcher, page(update), file_limit=190000)
            self.assertEqual(launcher.wait_started(), "new")
        with self.subTest("while downloading"), Launcher(self.desktop) as launcher:
            self.run_update(launcher, page(update_archive("new", [("Vantorel.app/big", noise)])), file_limit=4096)
            self.assertIsNone(launcher.started())

    def test_a_folder_that_cannot_be_written_ends_in_words(self):
        with Launcher(self.desktop) as launcher, \
                UpdateServer({VERSION: page(b"18"), CHANGELOG: page(b""), UPDATE: page(update_archive("new"))}):
            launcher.install("17", "old")
            launcher.folder.chmod(0o555)
            launcher.start(as_nobody=True)
            window = self.desktop.window(NOTICE_UPDATE, launcher.process)
            self.desktop.key(window, "Return")
            # The download has no file to go to, so nothing more happens: the splash stays, by design.
            self.assertIsNone(launcher.process.poll())


if __name__ == "__main__":
    unittest.main(verbosity=2)
