"""What an edit by forkzip must not lose or let in."""

import os
import pathlib
import struct
import subprocess
import tempfile
import unittest
import zipfile

PROGRAM = os.path.abspath(os.environ.get("FORKZIP", "build/dev/bin/forkzip"))
LONG_NAME = "n" * 70000
MODES = ((), ("--in-place",))


class Losses(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.archive = self.folder / "a.zip"

    def make(self, **members):
        with zipfile.ZipFile(self.archive, "w") as archive:
            for name, text in members.items():
                archive.writestr(name, text)
        return self.archive.read_bytes()

    def file(self, name, content="new"):
        path = self.folder / name
        path.write_text(content)
        return name

    def run_forkzip(self, *arguments):
        done = subprocess.run([PROGRAM, *arguments], cwd=self.folder, capture_output=True, text=True, timeout=300)
        return done.returncode, done.stderr

    def members(self):
        with zipfile.ZipFile(self.archive) as archive:
            self.assertIsNone(archive.testzip())
            self.assertEqual(len(set(archive.namelist())), len(archive.namelist()))
            return {info.filename: archive.read(info) for info in archive.infolist()}

    def test_only_what_was_added_replaces_a_member(self):
        good, gone = self.file("good"), self.file("gone")
        os.truncate(self.folder / gone, 3 << 30)  # larger than a member may be
        self.make(good="old", gone="old")
        code, errors = self.run_forkzip("add", "a.zip", good, gone)
        self.assertEqual((code, "gone: left out" in errors), (3, True), errors)
        self.assertEqual(self.members(), {"good": b"new", "gone": b"old"})

    def test_a_member_is_replaced_by_its_stored_name(self):
        for mode in MODES:
            with self.subTest(mode):
                data = self.make(XX="old")
                self.archive.write_bytes(data.replace(b"XX", b"\x81x"))  # an umlaut in code page 437
                code, errors = self.run_forkzip("add", *mode, "--encoding", "cp437", "a.zip", self.file("\u00fcx"))
                self.assertEqual(code, 0, errors)
                self.assertEqual(list(self.members().values()), [b"new"])

    def test_refused_with_all_members_still_there(self):
        name = self.file("new")
        for mode in MODES:
            for label, far, arguments in (
                    ("a name too long for a duplicate", False, ("duplicate", *mode, "a.zip", "last", LONG_NAME)),
                    ("a name too long for a new member", False, ("add", *mode, "a.zip", name, "--as", LONG_NAME)),
                    ("a duplicate of damaged data", True, ("duplicate", *mode, "a.zip", "last", "again")),
                    ("one of two members to delete is missing", False, ("delete", *mode, "a.zip", "last", "none"))):
                with self.subTest(label, mode=mode):
                    data = bytearray(self.make(first="1", last="2"))
                    if far:
                        struct.pack_into("<I", data, data.rfind(b"PK\1\2") + 20, 50000)
                        self.archive.write_bytes(data)
                    code, _ = self.run_forkzip(*arguments)
                    self.assertNotEqual(code, 0)
                    self.assertEqual(len(zipfile.ZipFile(self.archive).namelist()), 2)
                    if far:
                        self.assertEqual(self.archive.read_bytes(), data)
                    else:
                        self.assertEqual(self.members(), {"first": b"1", "last": b"2"})

    def test_behind_the_end_only_filling_is_cut_off(self):
        for mode in MODES:
            for behind, expected in ((b"\0" * 6000, 0), (b"\0" * 6000 + b"x", 1)):
                with self.subTest(behind[-1:], mode=mode):
                    data = self.make(x="1") + behind
                    self.archive.write_bytes(data)
                    code, errors = self.run_forkzip("comment", *mode, "a.zip", "text")
                    self.assertEqual((code, self.archive.read_bytes() == data), (expected, expected == 1), errors)

    def test_the_file_an_archive_grows_in_is_not_added_to_it(self):
        (self.folder / "tree").mkdir()
        self.archive = self.folder / "tree" / "a.zip"
        for verb in ("create", "add"):
            with self.subTest(verb):
                self.file("tree/x")
                self.file("tree/.a.zip.forkzip-new", "left by a run that was killed")
                code, errors = self.run_forkzip(verb, "tree/a.zip", "tree")
                self.assertEqual(code, 0, errors)
                self.assertEqual(self.members(), {"tree/": b"", "tree/x": b"new"})

    def test_no_two_members_get_one_name(self):
        self.file("x", "another")
        self.folder = self.folder / "deep"
        self.folder.mkdir()
        self.archive = self.folder / "a.zip"
        self.file("x")
        for arguments, expected in ((("x", "./x"), 0), (("x", "../x"), 3)):
            with self.subTest(arguments):
                self.archive.unlink(missing_ok=True)
                code, errors = self.run_forkzip("create", "a.zip", *arguments)
                self.assertEqual((code, "another file has the name" in errors), (expected, expected == 3), errors)
                self.assertEqual(self.members(), {"x": b"new"})


if __name__ == "__main__":
    unittest.main()
