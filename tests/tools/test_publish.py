#!/usr/bin/env python3
"""vantorel-publish: what it writes is read back by other tools; what it refuses leaves the last update in place."""

import os
import pathlib
import subprocess
import tempfile
import unittest
import zipfile

PROGRAM = os.environ.get("VANTOREL_PUBLISH", "build/dev/bin/vantorel-publish")


class Publish(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="publish-")
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        self.app = self.root / "Any name.app"
        self.out = self.root / "www"
        self.notes = self.root / "notes.txt"
        (self.app / "Contents/MacOS").mkdir(parents=True)
        (self.app / "Contents/Empty").mkdir()
        (self.app / "Contents/MacOS/Vantorel").write_text("#!/bin/sh\n" * 100)
        (self.app / "Contents/MacOS/Vantorel").chmod(0o755)
        (self.app / "Contents/Größe.txt").write_bytes(b"")
        self.notes.write_text("Größer")

    def publish(self, **changes):
        options = {"app": self.app, "version": "18", "notes": self.notes, "out": self.out, **changes}
        command = [PROGRAM] + [part for name, value in options.items() for part in (f"--{name}", str(value))]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def test_other_tools_read_what_is_published(self):
        for platform, target in (("mac", "Vantorel.app"), ("win", "Vantorel")):
            with self.subTest(platform):
                result = self.publish(platform=platform)
                self.assertEqual((result.returncode, result.stderr), (0, ""))
                prefix = self.out / f"{platform}_Vantorel"
                self.assertEqual(pathlib.Path(f"{prefix}_version").read_bytes(), b"18")
                self.assertEqual(pathlib.Path(f"{prefix}_changelog").read_text(), "Größer")
                subprocess.run(["unzip", "-tq", f"{prefix}_update"], check=True, stdout=subprocess.DEVNULL)
                with zipfile.ZipFile(f"{prefix}_update") as archive:
                    modes = {i.filename: i.external_attr >> 16 for i in archive.infolist() if i.filename.isascii()}
                    self.assertEqual(len(archive.infolist()), 3)
                    self.assertEqual(modes[f"{target}/Contents/MacOS/Vantorel"], 0o100755)
                    self.assertIn(f"{target}/Contents/Empty/", modes)
        self.assertEqual(len(list(self.out.iterdir())), 6)

    def test_what_launchers_could_not_use_is_refused(self):
        def link():
            (self.app / "Contents/link").symlink_to("MacOS/Vantorel")

        latin1 = self.root / "latin1.txt"
        latin1.write_bytes("eins\nGrößer".encode("latin-1"))
        empty = self.root / "empty"
        empty.mkdir()
        a_file = self.root / "a file"
        a_file.write_text("")
        cases = [  # what would be broken, options, exit code, a word of the reason
            ("underscore", {"version": "1_8"}, 1, "underscore"),
            ("no version", {"version": ""}, 1, "empty"),
            ("line end", {"version": "18\n"}, 1, "control character"),
            ("notes in another encoding", {"notes": latin1}, 1, "line 2 is not UTF-8"),
            ("no notes", {"notes": self.root / "none"}, 3, "none"),
            ("no application", {"app": self.root / "none"}, 1, "is not a folder"),
            ("nothing in it", {"app": empty}, 1, "is empty"),
            ("output is a file", {"out": a_file}, 3, "a file"),
            ("unknown platform", {"platform": "amiga"}, 2, "platform"),
            ("symbolic link", {"before": link}, 1, "symbolic link"),
        ]
        self.assertEqual(self.publish(version="17").returncode, 0)
        before = {p.name: p.read_bytes() for p in self.out.iterdir()}
        for name, options, code, reason in cases:
            with self.subTest(name):
                options.pop("before", lambda: None)()
                result = self.publish(**options)
                self.assertEqual(result.returncode, code, result.stderr)
                self.assertIn(reason, result.stderr)
                self.assertEqual({p.name: p.read_bytes() for p in self.out.iterdir()}, before)

    def test_the_version_comes_last(self):
        (self.out / "mac_Vantorel_changelog").mkdir(parents=True)
        self.assertEqual(self.publish().returncode, 3)
        self.assertTrue((self.out / "mac_Vantorel_update").is_file())
        self.assertFalse((self.out / "mac_Vantorel_version").exists())


if __name__ == "__main__":
    unittest.main(verbosity=2)
