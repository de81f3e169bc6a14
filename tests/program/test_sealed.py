#!/usr/bin/env python3
"""Sealed updates as a user meets them, and a build without keys, which has nothing of them."""

import os
import pathlib
import subprocess
import tempfile
import unittest

from launcher import CHANGELOG, PROGRAM, UPDATE, VERSION, Launcher, update_archive
from sealing import KEYS, SIGNATURE, release
from test_check import ProgramTest, request
from updateserver import UpdateServer, page

SEALED = pathlib.Path(os.environ.get("VANTOREL_LAUNCHER_SEALED", "build/dev/bin/VantorelLauncherSealed")).resolve()
PUBLISH = pathlib.Path(os.environ.get("VANTOREL_PUBLISH", "build/dev/bin/vantorel-publish")).resolve()


def published(archive, version, serial):
    """The answers of a server with what vantorel-publish makes of an update archive."""
    with tempfile.TemporaryDirectory(prefix="published-") as name:
        folder = pathlib.Path(name)
        (folder / "update.zip").write_bytes(archive)
        (folder / "notes").write_text("notes")
        subprocess.run(["unzip", "-q", "update.zip"], cwd=folder, check=True)
        public_key = (KEYS / "new.pub").read_text().split("\n")[1]
        subprocess.run([PUBLISH, "--app", "Vantorel.app", "--version", version, "--notes", "notes", "--out", "www",
                        "--sign", KEYS / "new.key", "--serial", str(serial), "--verify-with", public_key],
                       cwd=folder, check=True)
        return {f"/{file.name}": page(file.read_bytes()) for file in (folder / "www").iterdir()}


class Sealed(ProgramTest):
    def test_installation_update_and_attack(self):
        launcher = self.enterContext(Launcher(self.desktop))
        steps = [  # what the server has, the target that starts, the record
            (release(update_archive("first"), "17", 5), "first", ("mac_17", "5")),
            (published(update_archive("second"), "18", 6), "second", ("mac_18", "6")),
            (release(update_archive("third"), "19", 7, update=update_archive("evil")), "second", ("mac_18", "6")),
        ]
        for answers, target, record in steps:
            with self.subTest(record), UpdateServer(answers) as server:
                (launcher.folder / "started").unlink(missing_ok=True)
                self.accept(launcher, program=SEALED)
                self.assertEqual(launcher.finish(), 0, launcher.errors)
                self.assertEqual(launcher.wait_started(), target)
                self.assertEqual(server.requests, [request(p) for p in (VERSION, CHANGELOG, UPDATE, SIGNATURE)])
                self.assertEqual(tuple((launcher.folder / name).read_text() for name in ("version", "serial")), record)
                self.assertFalse((launcher.folder / ".update").exists())


class NotSealed(unittest.TestCase):
    def test_a_build_without_keys_has_nothing_of_it(self):
        libraries = {p: subprocess.run(["readelf", "-d", p], check=True, capture_output=True, text=True).stdout
                     for p in (PROGRAM, SEALED)}
        self.assertIn("libsodium", libraries[SEALED])
        self.assertNotIn("libsodium", libraries[PROGRAM])
        self.assertNotIn(b"_signature", PROGRAM.read_bytes())


if __name__ == "__main__":
    unittest.main(verbosity=2)
