#!/usr/bin/env python3
"""vantorel-publish: what it writes is read back by other tools; what it refuses leaves the last update in place."""

import ctypes
import fcntl
import os
import pathlib
import shutil
import struct
import subprocess
import tempfile
import time
import unittest
import zipfile

PROGRAM = os.environ.get("VANTOREL_PUBLISH", "build/dev/bin/vantorel-publish")
WRITE_COUNTER = pathlib.Path(os.environ.get("WRITE_COUNTER", "build/dev/tests/tools/libwritecounter.so")).resolve()


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
        (self.app / "Vantorel.exe").write_text("MZ")
        (self.app / "Contents/Größe.txt").write_bytes(b"")
        (self.app / "Contents/._Größe.txt").write_text("named like a side file, but none")
        self.notes.write_text("Größer")

    def publish(self, password=None, environment=(), **changes):
        options = {"app": self.app, "version": "18", "notes": self.notes, "out": self.out, **changes}
        command = [PROGRAM] + [part for name, value in options.items() for part in (f"--{name}", str(value))]
        return subprocess.run(command, capture_output=True, text=True, check=False, input=password,
                              env={**os.environ, **dict(environment)})

    def published(self, folder=None):
        return {file.name: file.read_bytes() for file in (folder or self.out).iterdir()}

    def expect_refusals(self, cases):
        """Each case: what would be broken, options, exit code, a word of the reason."""
        for name, options, code, reason in cases:
            with self.subTest(name):
                options.pop("before", lambda: None)()
                before = self.published()
                result = self.publish(**options)
                self.assertEqual(result.returncode, code, result.stderr)
                self.assertIn(reason, result.stderr)
                self.assertEqual(self.published(), before)

    def key(self, name, password=None):
        """Makes a key pair of minisign; gives the secret key's file."""
        words = {"input": f"{password}\n{password}\n"} if password else {"stdin": subprocess.DEVNULL}
        subprocess.run(["minisign", "-G", *([] if password else ["-W"]), "-p", self.root / f"{name}.pub", "-s", self.root / name],
                       check=True, text=True, capture_output=True, **words)
        return self.root / name

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
                    self.assertEqual(len(archive.infolist()), 5)
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
        no_program = self.root / "Vantorel.app"
        (no_program / "Contents/MacOS").mkdir(parents=True)
        a_file = self.root / "a file"
        a_file.write_text("")
        cases = [
            ("underscore", {"version": "1_8"}, 1, "underscore"),
            ("no version", {"version": ""}, 1, "empty"),
            ("line end", {"version": "18\n"}, 1, "control character"),
            ("notes in another encoding", {"notes": latin1}, 1, "line 2 is not UTF-8"),
            ("no notes", {"notes": self.root / "none"}, 3, "none"),
            ("no application", {"app": self.root / "none"}, 1, "is not a folder"),
            ("nothing in it", {"app": empty}, 1, "is empty"),
            ("no program", {"app": no_program}, 1, 'has no program "Vantorel"'),
            ("no program of the other platform", {"app": no_program, "platform": "win"}, 1, "has no Vantorel.exe"),
            ("output is a file", {"out": a_file}, 3, "a file"),
            ("output in the application", {"out": self.app / "Contents/www"}, 1, "inside the application"),
            ("unknown platform", {"platform": "amiga"}, 2, "platform"),
            ("symbolic link", {"before": link}, 1, "symbolic link"),
        ]
        self.assertEqual(self.publish(version="17").returncode, 0)
        self.expect_refusals(cases)

    def test_the_signature_follows_its_archive_and_the_version_comes_last(self):
        self.out.mkdir()
        libc = ctypes.CDLL(None)
        watch = libc.inotify_init1(0)
        moved_to = 0x80
        self.assertGreaterEqual(libc.inotify_add_watch(watch, os.fsencode(self.out), moved_to), 0)
        self.assertEqual(self.publish(sign=self.key("key")).returncode, 0)
        names, events = [], os.read(watch, 4096)
        while events:
            length = struct.unpack_from("iIII", events)[3]
            names.append(events[16:16 + length].rstrip(b"\0").decode())
            events = events[16 + length:]
        self.assertEqual([name[len("mac_Vantorel"):] for name in names], ["_update", "_signature", "_changelog", "_version"])

    def test_what_was_published_before_stays_when_a_step_fails(self):
        sign = {"sign": self.key("key")}
        published = self.root / "published"
        self.assertEqual(self.publish(version="17", out=published, serial=1, **sign).returncode, 0)
        before = self.published(published)
        self.notes.write_text("other notes")
        (self.app / "Contents/new").write_text("new")
        for kind, old_system in (("FAIL", "0"), ("FAIL", "1"), ("FULL", "0")):
            codes = []
            for call in range(1, 40):
                shutil.copytree(published, self.out)
                environment = {"LD_PRELOAD": str(WRITE_COUNTER), f"WRITE_COUNTER_{kind}": str(call),
                               "WRITE_COUNTER_OLD": old_system, "ASAN_OPTIONS": "verify_asan_link_order=0"}
                result = self.publish(environment=environment, **sign)
                codes.append(result.returncode)
                now = self.published()
                changed = {name for name in before if now[name] != before[name]}
                told = {name for name in before if f"{name}: cannot be taken back" in result.stderr}
                with self.subTest(kind, old_system=old_system, call=call):
                    self.assertEqual(changed, set(before) if result.returncode == 0 else told)
                    self.assertTrue(kind == "FULL" or not told)
                shutil.rmtree(self.out)
            self.assertEqual((codes[-1], sum(map(bool, codes)) > 20), (0, True))

    def test_what_is_signed_verifies(self):
        for name, password, key in (("without password", None, lambda public: public.read_text().split("\n")[1]),
                                    ("with password", "secret", str)):
            with self.subTest(name):
                secret = self.key(name, password)
                public = self.root / f"{name}.pub"
                before = int(time.time())
                result = self.publish(sign=secret, **{"verify-with": key(public)}, password=password and password + "\n")
                self.assertEqual(result.returncode, 0, result.stderr)
                check = subprocess.run(["minisign", "-V", "-Q", "-p", public, "-m", self.out / "mac_Vantorel_update",
                                        "-x", self.out / "mac_Vantorel_signature"], check=True, capture_output=True, text=True)
                version, serial = check.stdout.strip().split("\tserial:")
                self.assertEqual(version, "version:18")
                self.assertIn(int(serial), range(before, int(time.time()) + 1))

    def test_a_signature_that_launchers_would_refuse_is_not_published(self):
        sign = {"sign": self.key("one")}
        self.key("other")
        cases = [
            ("no key", {"sign": self.root / "none"}, 1, "none"),
            ("another public key", {**sign, "serial": 7, "verify-with": self.root / "other.pub"}, 1, "is not the public key"),
            ("an older number", {**sign, "serial": 5}, 1, "does not follow 6"),
            ("the same number for another version", {**sign, "serial": 6}, 1, "does not follow 6"),
            ("more than 18 digits", {**sign, "serial": 10 ** 18}, 2, "serial"),
            ("a number without a signature", {"serial": 7}, 2, "sign"),
            ("a signature of more than 4 KiB", {**sign, "version": "1" * 3900}, 1, "the version is too long"),
            ("a version that is not UTF-8", {**sign, "version": "1\udcff"}, 1, "the version is not UTF-8"),
            ("a published number that is none", {**sign, "serial": 7, "before": lambda: signature.write_bytes(
                signature.read_bytes().replace(b"serial:6", b"serial:" + b"9" * 20))}, 1, "does not follow 999"),
            ("an update without a signature after one with it", {}, 1, "was signed"),
        ]
        signature = self.out / "mac_Vantorel_signature"
        for serial in (6, 6):  # the same release may be published again
            self.assertEqual(self.publish(version="17", serial=serial, **sign).returncode, 0)
        self.assertEqual(len(list(self.out.iterdir())), 4)
        self.expect_refusals(cases)

    def test_one_run_at_a_time(self):
        self.out.mkdir()
        folder = os.open(self.out, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        fcntl.flock(folder, fcntl.LOCK_EX)
        result = self.publish()
        self.assertEqual((result.returncode, list(self.out.iterdir())), (3, []))
        self.assertIn("another run", result.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
