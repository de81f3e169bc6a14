#!/usr/bin/env python3
"""Edits and the archive that was there: what is refused, what a dry run leaves alone, and how the new one replaces it."""

import fcntl
import os
import stat
import struct
import unittest

from forkzip import UNIX_TIMES, ForkzipTest, Member, apple_double, archive

WAYS = ([], ["--in-place"])


class Replacing(ForkzipTest):
    def assert_no_strays(self):
        self.assertEqual([name for name in os.listdir(self.root) if "forkzip" in name], [])

    def test_a_dry_run_says_what_would_be_done(self):
        self.zip.write_bytes(archive(Member("f", b"1"), Member("d/"), Member("d/g", b"2"), Member("../x", b"3"), Member("h"),
                                     Member("l/m"), Member("ü".encode("cp437"))))
        self.write("overlapping.zip", archive(Member("hole", b"x", hole=True), Member("f", packed=Member("g").local()),
                                              Member("g", offset=66), Member("x")))
        self.write("odd.zip", archive(
            Member("aes", b"1", flags=1, local_flags=1), Member("b"), Member("b"), Member("c"), Member("c/d"),
            Member("k", b"b", mode=0o120777), Member("k"), Member("mac", b"1", extra=UNIX_TIMES),
            Member("__MACOSX/._mac", apple_double(b"fork"), extra=UNIX_TIMES), Member("part", b"1")))
        self.write("out/._mac", apple_double(b"old"))
        self.write("out/part", "").chmod(0o1000)
        for name in ("日", "ü"):
            self.write(name, "new")
        self.write("out/f", "kept")
        self.write("out/h/i", "kept")
        (self.root / "out/l").symlink_to("..")
        self.write(".a.zip.forkzip-new", "a stray")
        cases = [  # arguments, exit code, what is said on standard output, on standard error
            (["extract", self.zip, "d", "-d", "new"], 0, "extract d/\nextract d/g\n2 members to be extracted\n", ""),
            (["extract", self.zip, "../x", "-d", "out"], 1, "0 members to be extracted\n", "leads out"),
            (["extract", self.zip, "f", "-d", "out"], 3, "0 members to be extracted\n", "kept; --overwrite"),
            (["extract", self.zip, "f", "-d", "out", "--overwrite"], 0, "extract f\n1 member to be extracted\n", ""),
            (["extract", self.zip, "h", "-d", "out", "--overwrite"], 3, "0 members to be extracted\n", "a folder is there"),
            (["extract", self.zip, "l", "-d", "out", "--overwrite"], 1, "0 members to be extracted\n", "symbolic link"),
            (["extract", "odd.zip", "aes", "-d", "out"], 1, "0 members to be extracted\n", "Unsupported format"),
            (["extract", "odd.zip", "b", "-d", "out"], 3, "extract b\n1 member to be extracted\n", "b: exists already"),
            (["extract", "odd.zip", "b", "-d", "out", "--overwrite"], 0, "extract b\nextract b\n2 members to be extracted\n", ""),
            (["extract", "odd.zip", "c", "-d", "out"], 3, "extract c\n1 member to be extracted\n", "folder out/c: Not a"),
            (["extract", "odd.zip", "k", "-d", "out"], 3, "extract k\n1 member to be extracted\n", "k: exists already"),
            (["extract", "odd.zip", "mac", "-d", "out"], 3, "0 members to be extracted\n", "._mac, where its Mac data"),
            (["extract", "odd.zip", "part", "-d", "out"], 0, "extract part\n1 member to be extracted\n", ""),
            (["extract", "odd.zip", "b", "-d", "out/f"], 3, "", "destination out/f: Not a directory"),
            (["extract", "odd.zip", "b", "-d", "out/f/x"], 3, "", "destination out/f/x: Not a directory"),
            (["add", self.zip, "out/f", "--as", "f"], 0, "replace f\n", ""),
            (["add", self.zip, "out/f", "missing"], 3, "add out/f\n", "No such file"),
            (["add", self.zip, "out/f", "--as", "n" * 70000], 3, "", "longer than 65535 bytes"),
            (["add", "--encoding", "cp437", self.zip, "日", "ü"], 3, "replace ü\n", "letters that the archive's encoding lacks"),
            (["delete", self.zip, "d"], 0, "delete d/\ndelete d/g\n2 members to be deleted\n", ""),
            (["delete", self.zip, "F"], 1, "", "no such member"),
            (["delete", "overlapping.zip", "x"], 1, "", "overlaps"),
        ]
        def state():
            return {path: path.lstat().st_mtime_ns for path in [self.root, *self.root.rglob("*")]}
        before = state()
        for arguments, code, said, errors in cases:
            for way in WAYS if self.zip in arguments and arguments[0] != "extract" else [[]]:
                with self.subTest((arguments, way)):
                    self.assertEqual(self.expect(code, *arguments, "-n", *way, says=errors).decode(), said)
                    self.assertEqual(state(), before)

    def test_edits_that_would_lose_something_are_refused(self):
        good = archive(Member("f", b"12345"), Member("g", b"1"))
        far = bytearray(good)
        struct.pack_into("<I", far, good.find(b"PK\1\2") + 20, 50000)
        many = archive(*[Member(str(i)) for i in range(65535)])
        long_name = "n" * 70000
        mac = [Member("mac", b"3", extra=UNIX_TIMES), Member("._mac", apple_double(b"fork"), extra=UNIX_TIMES)]
        deep = archive(Member("f"), Member("d/x"), Member("e/y"))
        self.write("new", "new")
        cases = [
            ("a wrong count", archive(Member("f"), Member("g"), count=1), "delete", ["f"], "announces 1 member"),
            ("what lies behind the end", good + b"\0" * 6000 + b"x", "add", ["new"], "6001 bytes behind the end"),
            ("an archive of the same layout in front", good + archive(Member("f", b"54321"), Member("g", b"2")),
             "comment", ["x"], "bytes between its directory and its end record"),
            ("a Zip64 record that tells another story", archive(Member("f"), between=archive(zip64=True)[:76]),
             "comment", ["x"], "76 bytes between"),
            ("too many members", many, "add", ["new"], "the format ends at 65535"),
            ("overlapping members", archive(Member("hole", b"x", hole=True), Member("f", packed=Member("g").local()),
                                            Member("g", offset=66)), "compact", [], "overlaps"),
            ("a comment with a signature", good, "comment", ["PK\5\6"], "signature"),
            ("a comment of 65536 bytes", good, "comment", ["x" * 65536], "65536 bytes"),
            ("a name that is taken", good, "duplicate", ["f", "G"], "exists already"),
            ("a name of nothing", good, "duplicate", ["f", "../"], "no name"),
            ("a name too long for a duplicate", good, "duplicate", ["f", long_name], "the format ends at 65535"),
            ("a name too long for a new member", good, "add", ["new", "--as", long_name], "longer than 65535 bytes"),
            ("a duplicate of data that reaches too far", bytes(far), "duplicate", ["f", "x"], "into the directory"),
            ("a duplicate of damaged data", archive(Member("f", b"1", crc=7)), "duplicate", ["f", "x"], "checksum"),
            ("a duplicate with another local header", archive(Member("f", b"1", local_flags=2)), "duplicate",
             ["f", "x"], "contradicts"),
            ("a duplicate with another name in its local header", good.replace(b"f", b"F", 1), "duplicate", ["f", "x"],
             "contradicts"),
            ("a new name that is taken", good, "rename", ["f", "g"], "exists already"),
            ("a new name in the place of a companion", archive(Member("f"), Member("._g", b"x"), Member("d/"), *mac[:2]),
             "rename", ["mac", "g"], "exists already"),
            ("a new name where only a folder's is right", archive(Member("f"), Member("d/")), "rename", ["f", "d"],
             "exists already"),
            ("a file's new name where members lie in a folder", deep, "rename", ["f", "d"], "d: exists already, as a folder"),
            ("a folder's new name where they do", deep, "rename", ["e", "d"], "d: exists already, as a folder"),
            ("a folder's new name where a file is", deep, "rename", ["e", "f"], "f: exists already, and is no folder"),
            ("a new name below a file", deep, "rename", ["e/y", "f/g"], "f: exists already, and is no folder"),
            ("a duplicate's name where members lie in a folder", deep, "duplicate", ["f", "d"], "as a folder"),
            ("a file that is added where members lie in a folder", deep, "add", ["new", "--as", "d"], "d: exists already, as a"),
            ("one that is added below a file", deep, "add", ["new", "--as", "f/g"], "f: exists already, and is no folder"),
            ("a duplicate's name below a file", deep, "duplicate", ["e/y", "f/g"], "is no folder"),
            ("renaming with another local header", archive(Member("f", b"1", local_flags=2)), "rename", ["f", "x"],
             "contradicts"),
            ("no such member to rename", good, "rename", ["F", "x"], "F: no such member"),
            ("no such member", good, "delete", ["f", "x"], "nothing is deleted"),
            ("a name to delete in other letter case", good, "delete", ["F"], "F: no such member"),
            ("a name to duplicate in other letter case", good, "duplicate", ["F", "x"], "F: no such member"),
            ("no such file", good, "add", ["missing"], "No such file"),
            ("the archive itself", good, "add", [self.zip], "it is the archive itself"),
            ("no archive, before the file is missed", b"x" * 99, "add", ["missing"], "Zip file"),
        ]
        for what, content, verb, arguments, message in cases:
            for way in WAYS:
                with self.subTest(what, way=way):
                    self.zip.write_bytes(content)
                    self.write(".a.zip.forkzip-new", "left by a run that was killed")
                    result = self.run_tool(verb, *way, self.zip, *arguments)
                    self.assertIn(result.returncode, (1, 2, 3))
                    self.assertIn(message, result.stderr.decode())
                    self.assertEqual(self.zip.read_bytes(), content)
                    self.assert_no_strays()

    def test_the_new_archive_takes_the_place_of_the_old_one(self):
        precious = self.write("precious", "of someone else")
        os.chown(self.root, 65534, -1) if os.geteuid() == 0 else None
        owned, nobody = (12, 34), {"user": 65534, "group": 65534, "extra_groups": []}
        kept = "its owner cannot be kept"
        cases = [  # of root's tests, the archive's mode, who runs forkzip, what it says; the new owner and mode
            ("mode and owner stay, and a link in the way is not written through", False, 0o640, {}, "", owned, 0o640),
            ("an owner that is lost is told, and lets no group in", True, 0o2666, nobody, kept, (65534, 65534), 0o606),
            ("a group that can be kept keeps its rights", True, 0o4660, {**nobody, "group": 34}, kept, (65534, 34), 0o660),
        ]
        (self.root / "links").mkdir()
        (self.root / "links/l.zip").symlink_to("../a.zip")
        for what, by_root, mode, user, says, owner, new_mode in cases:
            if by_root and os.geteuid() != 0:
                continue
            with self.subTest(what):
                self.zip.write_bytes(archive(Member("f", b"1")))
                os.chown(self.zip, *owned) if os.geteuid() == 0 else None
                self.zip.chmod(mode)
                os.link(precious, self.root / ".a.zip.forkzip-new")
                self.expect(0, "comment", "links/l.zip", "x", says=says, **user)
                self.assertTrue((self.root / "links/l.zip").is_symlink())
                status = self.zip.stat()
                owner = owner if os.geteuid() == 0 else (os.geteuid(), status.st_gid)
                self.assertEqual((stat.S_IMODE(status.st_mode), status.st_uid, status.st_gid), (new_mode, *owner))
                self.assertEqual(self.expect(0, "comment", self.zip), b"x\n")
                self.assertEqual(precious.read_text(), "of someone else")
                self.assert_no_strays()
        self.zip.chmod(0o444)
        user = nobody if os.geteuid() == 0 else {}
        for way in WAYS:
            self.expect(3, "comment", *way, self.zip, "read-only", says="cannot be opened for writing", **user)

    def test_archives_of_long_names(self):
        """Of which the draft's name is too long by one letter, and by as much as can be."""
        self.write("f", "1")
        names = ["n" * length + ".zip" for length in (239, 251)]
        for name in names:
            self.expect(0, "create", "-q", name, "f")
            self.expect(0, "comment", "-q", name, "x")
        self.assertEqual(sorted(os.listdir(self.root)), sorted(["f", *names]))

    def test_two_runs_do_not_change_an_archive_at_once(self):
        self.zip.write_bytes(archive(Member("f", b"1")))
        draft = self.write(".a.zip.forkzip-new", "of a run at work")
        for held, way, code in ((self.zip, [], 3), (self.zip, ["--in-place"], 3), (draft, [], 3),
                                (draft, ["--in-place"], 0)):
            with self.subTest(held=held, way=way), open(held, "rb") as file:
                fcntl.flock(file, fcntl.LOCK_EX)
                self.expect(code, "comment", *way, self.zip, "x", says="is being changed by another run" if code else "")
                self.expect(0, "list", self.zip)
                self.assertEqual(draft.read_text(), "of a run at work")


if __name__ == "__main__":
    unittest.main()
