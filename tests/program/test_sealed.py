#!/usr/bin/env python3
"""Sealed updates as a user meets them, and a build without keys, which has nothing of them."""

import os
import pathlib
import subprocess
import unittest

from launcher import CHANGELOG, NOTICE_INSTALL, NOTICE_UPDATE, PROGRAM, UPDATE, VERSION, update_archive
from sealing import SIGNATURE, published, release
from test_check import ProgramTest, request
from updateserver import UpdateServer

SEALED = pathlib.Path(os.environ.get("VANTOREL_LAUNCHER_SEALED", "build/dev/bin/VantorelLauncherSealed")).resolve()


class Sealed(ProgramTest):
    def accept(self, launcher, title):
        launcher.start(SEALED)
        self.desktop.key(self.desktop.window(title, launcher.process), "Return")

    def test_installation_update_and_attack(self):
        launcher = self.launcher()
        steps = [  # what the server has, the notice, the target that starts, the record
            (release(update_archive("first"), "17", 5), NOTICE_INSTALL, "first", ("mac_17", "5")),
            (published(update_archive("second"), "18", 6), NOTICE_UPDATE, "second", ("mac_18", "6")),
            (release(update_archive("third"), "19", 7, update=update_archive("evil")), NOTICE_UPDATE, "second", ("mac_18", "6")),
        ]
        for answers, notice, target, record in steps:
            with self.subTest(record), UpdateServer(answers) as server:
                (launcher.folder / "started").unlink(missing_ok=True)
                self.accept(launcher, notice)
                self.assertEqual(launcher.finish(), 0, launcher.errors)
                self.assertEqual(launcher.wait_started(), target)
                self.assertEqual(server.requests, [request(p) for p in (VERSION, CHANGELOG, UPDATE, SIGNATURE)])
                self.assertEqual(tuple((launcher.folder / name).read_text() for name in ("version", "serial")), record)
                self.assertFalse((launcher.folder / ".update").exists())

    def test_nothing_installed_and_no_signature_is_told_and_the_run_ends(self):
        launcher = self.launcher()
        self.serve(release(signature=b""))
        self.accept(launcher, NOTICE_INSTALL)
        self.desktop.key(self.message_box(launcher), "Return")
        self.assertEqual(launcher.finish(), 0, launcher.errors)
        self.assertIn("the server has no signature", launcher.errors)


class NotSealed(unittest.TestCase):
    def test_a_build_without_keys_has_nothing_of_it(self):
        libraries = {p: subprocess.run(["readelf", "-d", p], check=True, capture_output=True, text=True).stdout
                     for p in (PROGRAM, SEALED)}
        self.assertIn("libsodium", libraries[SEALED])
        self.assertNotIn("libsodium", libraries[PROGRAM])
        self.assertNotIn(b"_signature", PROGRAM.read_bytes())


if __name__ == "__main__":
    unittest.main(verbosity=2)
