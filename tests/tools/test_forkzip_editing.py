#!/usr/bin/env python3
"""forkzip add, delete, duplicate, rename, comment, compact: nothing is lost, and other tools read what comes out."""

import os
import struct
import subprocess
import unittest
import zipfile
import zlib

from forkzip import DEFLATED, UNIX_TIMES, ForkzipTest, Member, apple_double, archive

WAYS = ([], ["--in-place"])
TREE = {"t/a": "hello " * 50, "t/sub/日本.txt": "words " * 5000, "t/sub/😀": b"", "t/Größe": os.urandom(3000)}
# As ditto stores a folder, with another that was unpacked from such an archive.
DITTO = ["d/", "d/f", "__MACOSX/", "__MACOSX/._d", "__MACOSX/d/", "__MACOSX/d/._f", "__MACOSX/.___MACOSX"]

SUB = ["__MACOSX/d/", "__MACOSX/__MACOSX/._d", "__MACOSX/__MACOSX/__MACOSX/._._d"]


class Editing(ForkzipTest):
    def test_new_names_hold_the_right_data_in_both_ways(self):
        edits = [
            ("add", ["new", "t/a"], ["t/sub/😀", "t/Größe", "new", "t/a"], {"new": b"new"}),
            ("duplicate", ["t/a", "ä/b"], ["t/a", "t/sub/😀", "t/Größe", "ä/b"], {"ä/b": TREE["t/a"].encode()}),
            ("rename", ["t/a", "ä/b"], ["ä/b", "t/sub/😀", "t/Größe"], {"ä/b": TREE["t/a"].encode()}),
            ("rename", ["t", "a"], ["a/a", "a/sub/😀", "a/Größe"], {"a/a": TREE["t/a"].encode()}),
        ]
        for name, content in {**TREE, "new": "new"}.items():
            self.write(name, content)
        for verb, arguments, names, contents in edits:
            for way in WAYS:
                with self.subTest((verb, arguments, way)):
                    self.zip.unlink(missing_ok=True)
                    self.expect(0, "create", "-q", self.zip, "t/sub/日本.txt", "t/a", "t/sub/😀", "t/Größe")
                    self.expect(0, "delete", "-q", "--in-place", self.zip, "t/sub/日本.txt")  # leaves a gap in front
                    self.expect(0, verb, "-q", *way, self.zip, *arguments)
                    self.assertEqual(self.names(), names)
                    for name, content in contents.items():
                        self.assertEqual(self.cat(name), content)
                    self.assert_others_accept()

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

    def test_archives_of_unusual_shape(self):
        """What an edit makes of members that share data, have no name of their own, or look like the tool's own."""
        self.write("mac", "new")
        self.write("üx", "new")
        mac = [Member("mac", b"old", extra=UNIX_TIMES), Member("__MACOSX/._mac", apple_double(b"f"), extra=UNIX_TIMES)]
        foreign = Member("__MACOSX/._a", apple_double(b"f"), extra=struct.pack("<HHI", 10, 4, 0))
        path = struct.pack("<HHBI", 0x7075, 5 + 7, 1, zlib.crc32("Größe".encode("cp437"))) + "Größe".encode()
        listed = archive(Member("Größe".encode("cp437"), b"1", extra=path), Member("b"))
        hole = Member("hole", b"x" * 50, hole=True)
        shared = [Member("x"), Member("short", b"1" * 10), Member("long", b"2" * 1000, offset=31)]
        nameless = archive(Member("a"), Member(""), Member("b"))
        ditto = archive(hole, *(Member(name, b"" if name[-1] == "/" else apple_double(b"f") if "._" in name else b"1",
                                       extra=UNIX_TIMES) for name in DITTO))
        chain = archive(hole, *(Member(name, b"1", extra=UNIX_TIMES) for name in ("a", "._a", "._._a", "b")))
        cases = [
            ("a replaced member's companion goes with it", archive(*mac), "add", ["mac"], ["mac"]),
            ("another member's stays", archive(*mac, Member("b", extra=UNIX_TIMES)), "delete", ["b"],
             ["mac", "__MACOSX/._mac"]),
            ("what stands for no members gives way", archive(Member("/")), "add", ["mac"], ["mac"]),
            ("but not if it holds data", archive(Member("/", b"data")), "add", ["mac"], ["/", "mac"]),
            ("nor beside another", archive(Member("/"), Member("a")), "add", ["mac"], ["/", "a", "mac"]),
            ("a short member at a long one's data", archive(*shared), "delete", ["x"], ["short", "long"]),
            ("no name of its own", nameless, "delete", ["a"], ["b"]),
            ("replaced by another", archive(Member("x"), Member("mac"), Member("")), "add", ["mac"], ["x", "mac"]),
            ("and by its stored name", archive(Member(b"\x81x", b"old")), "add", ["--encoding", "cp437", "üx"], ["üx"]),
            ("the same stays", nameless, "duplicate", ["b", "c"], ["a", "", "b", "c"]),
            ("none of its own under a new name either", nameless, "rename", ["a", "c"], ["c", "", "b"]),
            ("a folder stays one under a second name", archive(Member("d/")), "duplicate", ["d", "e"], ["d/", "e/"]),
            ("three bytes between members go", archive(Member("a"), Member("b"), gap=b"gap"), "compact", [], ["a", "b"]),
            ("a data descriptor moves with its member", archive(hole, Member("f", b"f" * 99, DEFLATED, descriptor=True)),
             "compact", [], ["f"]),
            ("and so does a header that disagrees", archive(hole, Member("f", local_flags=2)), "compact", [], ["f"]),
            ("data under a name that only its record has", archive(Member("f", b"1"), Member("fake", b"1", flags=8, offset=0)),
             "duplicate", ["fake", "copy"], ["f", "fake", "copy"]),
            ("the last members", archive(Member("f", b"1"), Member("g", b"2")), "delete", ["*"], []),
            ("and what is left of them", archive(Member("f", b"1", hole=True)), "compact", [], []),
            ("a comment of nothing else", archive(), "comment", ["text"], []),
            ("of what stands for no members", archive(Member("/")), "comment", ["text"], ["/"]),
            ("the first member of all", archive(), "add", ["mac"], ["mac"]),
            ("a Zip64 record", archive(Member("a", b"1"), zip64=True), "add", ["mac"], ["a", "mac"]),
            ("what belongs to no member goes when one is added", archive(Member("a"), gap=b"\0" * 99), "add", ["mac"],
             ["a", "mac"]),
            ("or duplicated", archive(Member("a"), gap=b"\0" * 99), "duplicate", ["a", "b"], ["a", "b"]),
            ("a Mac's folders stay with a comment", ditto, "comment", ["text"], DITTO),
            ("with what is added", ditto, "add", ["mac"], [*DITTO, "mac"]),
            ("with a duplicate", ditto, "duplicate", ["d/f", "d/g"], [*DITTO, "d/g", "__MACOSX/d/._g"]),
            ("where room is freed", ditto, "compact", [], DITTO),
            ("where a member goes", ditto, "delete", ["d/f"], [n for n in DITTO if n[-1] != "f"]),
            ("a companion's companion goes with it", chain, "delete", ["a"], ["b"]),
            ("another archiver's companion goes with it too", archive(Member("a"), foreign, Member("b")), "delete", ["a"], ["b"]),
            ("or gets its new name", archive(Member("a"), foreign, Member("b")), "rename", ["a", "c"], ["c", "__MACOSX/._c", "b"]),
            ("a folder of companions goes with the folder", ditto, "rename", ["d", "e"],
             [name.replace("d/", "e/").replace("._d", "._e") for name in DITTO]),
            ("with all in it, and nothing that only begins like it", archive(hole, Member("d/"), Member("d/mac", b"3", descriptor=True,
             extra=UNIX_TIMES), Member("__MACOSX/d/"), Member("__MACOSX/d/._mac", apple_double(b"f"), extra=UNIX_TIMES),
             Member("dx")), "rename", ["d/", "new/e"],
             ["new/e/", "new/e/mac", "__MACOSX/new/e/", "__MACOSX/new/e/._mac", "dx"]),
            ("unless there is one of its new name", archive(*(Member(name, extra=UNIX_TIMES) for name in
             ("d/", "__MACOSX/d/", "__MACOSX/e/"))), "rename", ["d", "e"], ["e/", "__MACOSX/d/", "__MACOSX/e/"]),
            ("a companion's companion gets its new name", chain, "rename", ["a", "c"], ["c", "._c", "._._c", "b"]),
            ("and is duplicated", chain, "duplicate", ["a", "c"], ["a", "._a", "._._a", "b", "c", "._c", "._._c"]),
            ("a dropped folder's companions may be companions' own", archive(*(Member(name, extra=UNIX_TIMES) for name in SUB)),
             "comment", ["x"], SUB),
            ("a companion keeps to its tree, however that is spelt", archive(Member("a"), Member("__MacOSX/._a",
             extra=UNIX_TIMES)), "rename", ["a", "b"], ["b", "__MacOSX/._b"]),
            ("a member goes by the name that is listed", listed, "delete", ["Größe"], ["b"]),
            ("is replaced by it", listed, "add", ["--as", "Größe", "mac"], ["b", "Größe"]),
            ("and renamed, without the old name in its extra field", listed, "rename", ["Größe", "c"], ["c", "b"]),
            ("filling behind the end is cut off", archive(Member("a")) + b"\0" * 6000, "comment", [""], ["a"]),
        ]
        for what, content, verb, arguments, names in cases:
            for way in WAYS:
                with self.subTest(what, way=way):
                    self.zip.write_bytes(content)
                    self.expect(0, verb, "-q", *way, self.zip, *arguments)
                    with zipfile.ZipFile(self.zip) as other:
                        self.assertEqual([info.orig_filename for info in other.infolist()], names)
                    if not names:
                        self.assertEqual(self.zip.read_bytes().count(b"PK"), 1)
                    elif "disagrees" not in what and not {"/", "", "short", "fake"} & {*names}:
                        self.assert_others_accept()
                    self.assertNotIn(b"\0" * 99, self.zip.read_bytes())
                    self.assertNotIn(b"gap", self.zip.read_bytes())
                    self.assertNotIn(path, self.zip.read_bytes())
        self.zip.write_bytes(archive(*shared))
        self.expect(0, "delete", "-q", self.zip, "x")
        self.assertIn(archive(*shared)[66:1066], self.zip.read_bytes())

    def test_an_archive_of_no_members(self):
        """It is an end record alone, as others write it."""
        (self.root / "folder").mkdir()
        self.expect(0, "create", "-q", self.zip, ".", cwd=self.root / "folder")
        self.assertEqual(self.zip.read_bytes(), archive())
        for tool in (["7zz", "t"], ["bsdtar", "-tf"], ["python3", "-m", "zipfile", "-t"]):
            subprocess.run([*tool, self.zip], check=True, capture_output=True)
        for verb in ("list", "info", "test", "extract", "comment"):
            self.expect(0, verb, self.zip)
        self.expect(1, "duplicate", self.zip, "f", "g", says="no such member")

    def test_names_in_the_encoding_of_the_archive(self):
        """(encoding, a name, what is stored of it or None, whether it is marked as UTF-8)"""
        cases = [("utf-8", "é", "é".encode(), True), ("windows-1252", "Ã©", b"\xc3\xa9", False),
                 ("cp437", "ü", b"\x81", False), ("cp437", "ü日", None, False)]
        content = archive(Member("é", b"1", flags=0x800, local_flags=0x800))
        for encoding, name, stored, marked in cases:
            self.write(name, "1")
            for verb, arguments in (("add", [name]), ("duplicate", ["*", name + "2"])):
                with self.subTest((encoding, verb, name)):
                    self.zip.write_bytes(content)
                    result = self.run_tool(verb, "--in-place", "--encoding", encoding, self.zip, *arguments)
                    if stored is None:
                        self.assertIn("letters that the archive's encoding lacks", result.stderr.decode())
                        self.assertEqual(self.zip.read_bytes(), content)
                        continue
                    record = self.zip.read_bytes().rpartition(b"PK\1\2")[2]
                    end = 42 + len(stored) + (verb == "duplicate")
                    self.assertEqual(record[42:end], stored + b"2" * (verb == "duplicate"), result.stderr)
                    self.assertEqual(record[5] & 8 != 0, marked)

    def test_encrypted_members(self):
        self.write("a", "secret " * 100)
        subprocess.run(["zip", "-qP", "pw", "encrypted.zip", "a"], cwd=self.root, check=True)
        for way in WAYS:
            self.zip.write_bytes((self.root / "encrypted.zip").read_bytes())
            self.expect(0, "duplicate", "-q", *way, self.zip, "a", "b")
            self.expect(0, "delete", "-q", *way, self.zip, "a")
            self.assertEqual(self.names(), ["b"])
            for command in (["unzip", "-P", "pw", "-tqq"], ["7zz", "t", "-ppw"]):
                subprocess.run([*command, self.zip], check=True, capture_output=True)

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


if __name__ == "__main__":
    unittest.main()
