#!/usr/bin/env python3
"""The archive that an edit leaves in place of the old one: its bytes, its size, its owner and its name."""

import os
import stat
import struct
import unittest

from forkzip import DRAFT, UNIX_TIMES, WAYS, ForkzipTest, Member, apple_double, archive


class Replacing(ForkzipTest):
    def test_a_copy_keeps_every_byte_that_it_does_not_mean_to_change(self):
        first = Member("first", b"1" * 300, extra=b"\x99\x99\2\0ab", comment=b"a comment", descriptor=True)
        members = [first, Member("no comment", b"2", local_flags=2, flags=2), Member("mac", b"3", extra=UNIX_TIMES),
                   Member("__MACOSX/"), Member("__MACOSX/._mac", apple_double(b"fork"), extra=UNIX_TIMES)]
        self.zip.write_bytes(archive(Member("doomed", b"x" * 500), *members, comment=b"whole", gap=b"gap"))
        self.expect(0, "delete", "-q", self.zip, "doomed")
        self.assertEqual(self.zip.read_bytes(), archive(*members, comment=b"whole"))
        self.expect(0, "delete", "-q", self.zip, "mac")
        self.assertEqual(self.zip.read_bytes(), archive(*members[:2], members[3], comment=b"whole"))
        self.expect(0, "add", "-q", self.zip, self.write("new", "new").name)
        self.assertTrue(self.zip.read_bytes().startswith(b"".join(m.local() for m in (*members[:2], members[3]))))
        self.assertIn(first.central(0), self.zip.read_bytes())
        self.assert_others_accept()
        self.zip.write_bytes(archive(Member("new"), *members[:2], gap=b"gap"))
        self.expect(0, "add", "-q", self.zip, "new")
        self.assert_others_accept()  # nor does a gap behind what was replaced stand in 7zz's way

    def test_up_to_two_gibibytes(self):
        """A sparse archive grows in place until the format ends, and one beyond it is not touched."""
        self.write("new", os.urandom(5000))
        for length, code in ((2**31 - 20000, 0), (2**31 - 3000, 1), (2**31 + 5, 1)):
            with self.subTest(length):
                record = Member("big", packed=range(length - 33 - 49 - 22)).central(0)
                with open(self.zip, "wb") as file:
                    file.write(Member("big").local())
                    file.seek(length - len(record) - 22)
                    file.write(record + struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 1, 1, len(record), file.tell(), 0))
                self.expect(code, "add", "--in-place", self.zip, "new", says="2 GiB" if code else "")
                self.assertEqual(self.names(), ["big"] + ["new"] * (code == 0))
                if code == 0:
                    self.assertEqual(self.cat("new"), (self.root / "new").read_bytes())
                else:
                    self.assertEqual(self.zip.stat().st_size, length)

    def test_the_new_archive_takes_the_place_of_the_old_one(self):
        """Its owner as far as that can be."""
        precious = self.write("precious", "of someone else")
        root, nobody = os.geteuid() == 0, {"user": 65534, "group": 65534, "extra_groups": []}
        if root:
            os.chown(self.root, 65534, -1)
        kept = "its owner cannot be kept"
        cases = [  # the archive's mode, who runs forkzip, what it says; the new mode
            ("mode and owner stay, and a link in the way is not written through", 0o640, {}, "", 0o640),
            ("an owner that is lost is told, and lets no group in", 0o2666, nobody, kept, 0o606),
            ("a group that can be kept keeps its rights", 0o4660, {**nobody, "group": 34}, kept, 0o660),
        ]
        (self.root / "links").mkdir()
        (self.root / "links/l.zip").symlink_to("../a.zip")
        for what, mode, user, says, new_mode in cases if root else cases[:1]:
            with self.subTest(what):
                self.zip.write_bytes(archive(Member("f", b"1")))
                if root:
                    os.chown(self.zip, 12, 34)
                self.zip.chmod(mode)
                old = self.zip.stat()
                os.link(precious, self.root / DRAFT)
                self.expect(0, "comment", "links/l.zip", "x", says=says, **user)
                self.assertTrue((self.root / "links/l.zip").is_symlink())
                new = self.zip.stat()
                self.assertEqual((stat.S_IMODE(new.st_mode), new.st_uid, new.st_gid),
                                 (new_mode, user.get("user", old.st_uid), user.get("group", old.st_gid)))
                self.assertEqual(self.expect(0, "comment", self.zip), b"x\n")
                self.assertEqual(precious.read_text(), "of someone else")
                self.assertEqual(self.strays(), [])
        self.zip.chmod(0o444)
        user = nobody if root else {}
        for way in WAYS:
            self.expect(3, "comment", *way, self.zip, "read-only", says="cannot be opened for writing", **user)

    def test_archives_of_long_names(self):
        """Of which the draft's name is too long by one letter, and by as much as can be."""
        names = ["n" * length + ".zip" for length in (239, 251)]
        self.put("d", {})
        self.write("new", "new")
        for name in names:
            self.expect(0, "create", "-q", f"d/{name}", "new")
            self.expect(0, "comment", "-q", f"d/{name}", "x")
        self.assertEqual(sorted(self.found("d")), names)


if __name__ == "__main__":
    unittest.main()
