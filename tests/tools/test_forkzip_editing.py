#!/usr/bin/env python3
"""forkzip add, delete, duplicate, rename, comment, compact: what they make of an archive, and what they refuse to."""

import struct
import subprocess
import unittest
import zipfile

from forkzip import DEFLATED, DRAFT, UNIX_TIMES, WAYS, ForkzipTest, Member, apple_double, archive, unicode_path

# As ditto stores a folder, with another that was unpacked from such an archive.
DITTO = ["d/", "d/f", "dx", "__MACOSX/", "__MACOSX/._d", "__MACOSX/d/", "__MACOSX/d/._f", "__MACOSX/.___MACOSX"]
SUB = ["__MACOSX/d/", "__MACOSX/__MACOSX/._d", "__MACOSX/__MACOSX/__MACOSX/._._d"]
UMLAUT = "Größe".encode("cp437")
PATH = unicode_path(UMLAUT, "Größe")
HOLE = Member("hole", b"x" * 50, hole=True)
FILES = {"mac": "new", "new": "new", "üx": "new", "é": "new", "Ã©": "new", "ü日": "new"}


def marked(name, data=b""):
    return Member(name, data, flags=0x800, local_flags=0x800)


def pair(name, companion, data=b"old", **fields):
    """A member and its companion."""
    fields = {"extra": UNIX_TIMES, **fields}
    return [Member(name, data, extra=UNIX_TIMES), Member(companion, apple_double(b"f"), **fields)]


class Editing(ForkzipTest):
    def setUp(self):
        super().setUp()
        for name, content in FILES.items():
            self.write(name, content)

    def check(self, what, content, verb, arguments, outcome):
        """`outcome` is why the edit is refused, or the names that other programs see afterwards, or names and data. A
        dry run tells the same and leaves the archive alone."""
        for way in WAYS:
            with self.subTest(what, way=way):
                self.zip.write_bytes(content)
                if verb in ("add", "delete"):
                    rehearsal = self.run_tool(verb, "-n", *way, self.zip, *arguments)
                    self.assertEqual(self.zip.read_bytes(), content)
                self.write(DRAFT, "left by a run that was killed")
                result = self.run_tool(verb, "-q", *way, self.zip, *arguments)
                self.assertEqual(self.strays(), [])
                made = self.zip.read_bytes()
                if verb in ("add", "delete"):
                    self.assertTrue(result.stderr.startswith(rehearsal.stderr), rehearsal.stderr)
                if isinstance(outcome, str):
                    self.assertIn(outcome, result.stderr.decode())
                    self.assertIn(result.returncode, (1, 2, 3))
                    self.assertEqual(made, content)
                    continue
                self.assertEqual((result.returncode, result.stderr), (0, b""))
                with zipfile.ZipFile(self.zip) as other:
                    self.assertEqual([info.orig_filename for info in other.infolist()], [*outcome])
                    if isinstance(outcome, dict):
                        self.assertEqual({name: other.read(name) for name in outcome}, outcome)
                if not outcome:
                    self.assertEqual(made.count(b"PK"), 1)
                elif "disagrees" not in what and not {"/", "", "short", "fake"} & {*outcome}:
                    self.assert_others_accept()
                for lost in (b"\0" * 99, b"gap", PATH):
                    self.assertNotIn(lost, made)

    def test_archives_of_unusual_shape(self):
        """What an edit makes of members that share data, have no name of their own, or look like the tool's own."""
        mac = pair("mac", "__MACOSX/._mac")
        foreign = archive(*pair("a", "__MACOSX/._a", extra=struct.pack("<HHI", 10, 4, 0)), Member("b"))
        listed = archive(Member(UMLAUT, b"1", extra=PATH), Member("b"))
        nameless = archive(Member("a"), Member(""), Member("b"))
        plain, streamed = archive(Member("a"), gap=b"\0" * 99), Member("f", b"f" * 99, DEFLATED, descriptor=True)
        ditto = archive(HOLE, *(Member(name, b"" if name[-1] == "/" else apple_double(b"f") if "._" in name else b"1",
                                       extra=UNIX_TIMES) for name in DITTO))
        chain = archive(HOLE, *(Member(name, b"1", extra=UNIX_TIMES) for name in ("a", "._a", "._._a", "b")))
        utf8, fake = archive(marked("é", b"1")), archive(Member("f"), Member("fake", flags=8, offset=0))
        moved = archive(Member("h", b"x" * 9000, hole=True), marked("t/a", b"words"), marked("t/Größe", b"more"))
        self.write("secret", "secret " * 100)
        subprocess.run(["zip", "-qP", "pw", "encrypted.zip", "secret"], cwd=self.root, check=True)
        encrypted, folders = (self.root / "encrypted.zip").read_bytes(), ["d/", "__MACOSX/d/", "__MACOSX/e/"]
        cases = [
            ("an addition holds its data", moved, "add", ["new"], {"t/a": b"words", "t/Größe": b"more", "new": b"new"}),
            ("a duplicate too", moved, "duplicate", ["t/a", "ä"], {"t/a": b"words", "t/Größe": b"more", "ä": b"words"}),
            ("and what has a new name", moved, "rename", ["t", "ä"], {"ä/a": b"words", "ä/Größe": b"more"}),
            ("encrypted data under a second name", encrypted, "duplicate", ["secret", "b"], ["secret", "b"]),
            ("UTF-8 is marked", utf8, "duplicate", ["é", "ü"], ["é", "ü"]),
            ("also when it replaces", utf8, "add", ["é"], ["é"]),
            ("another encoding is not", utf8, "add", ["--encoding", "windows-1252", "Ã©"], ["├⌐"]),
            ("nor in a duplicate", utf8, "duplicate", ["--encoding", "cp437", "*", "ü"], ["é", "ü"]),
            ("letters that it lacks", utf8, "add", ["--encoding", "cp437", "ü日"], "letters that the archive's"),
            ("in a duplicate", utf8, "duplicate", ["--encoding", "cp437", "*", "ü日"], "letters that the archive's"),
            ("a replaced member's companion goes with it", archive(*mac), "add", ["mac"], {"mac": b"new"}),
            ("another member's stays", archive(*mac, Member("b")), "delete", ["b"], ["mac", "__MACOSX/._mac"]),
            ("what stands for no members gives way", archive(Member("/")), "add", ["mac"], ["mac"]),
            ("but not if it holds data", archive(Member("/", b"data")), "add", ["mac"], ["/", "mac"]),
            ("nor beside another", archive(Member("/"), Member("a")), "add", ["mac"], ["/", "a", "mac"]),
            ("no name of its own", nameless, "delete", ["a"], ["b"]),
            ("replaced by another", archive(Member("x"), Member("mac"), Member("")), "add", ["mac"], ["x", "mac"]),
            ("and by its stored name", archive(Member(b"\x81x", b"old")), "add", ["--encoding", "cp437", "üx"], ["üx"]),
            ("the same stays", nameless, "duplicate", ["b", "c"], ["a", "", "b", "c"]),
            ("none of its own under a new name either", nameless, "rename", ["a", "c"], ["c", "", "b"]),
            ("a folder stays one under a second name", archive(Member("d/")), "duplicate", ["d", "e"], ["d/", "e/"]),
            ("bytes between members go", archive(Member("a"), Member("b"), gap=b"gap"), "compact", [], ["a", "b"]),
            ("a descriptor moves with its data", archive(HOLE, streamed), "compact", [], {"f": b"f" * 99}),
            ("and so does a header that disagrees", archive(HOLE, Member("f", local_flags=2)), "compact", [], ["f"]),
            ("data whose name is in its record alone", fake, "duplicate", ["fake", "copy"], ["f", "fake", "copy"]),
            ("the last members", archive(Member("f", b"1"), Member("g", b"2")), "delete", ["*"], []),
            ("and what is left of them", archive(Member("f", b"1", hole=True)), "compact", [], []),
            ("a comment of nothing else", archive(), "comment", ["text"], []),
            ("of what stands for no members", archive(Member("/")), "comment", ["text"], ["/"]),
            ("the first member of all", archive(), "add", ["mac"], ["mac"]),
            ("a Zip64 record", archive(Member("a", b"1"), zip64=True), "add", ["mac"], ["a", "mac"]),
            ("what belongs to no member goes when one is added", plain, "add", ["mac"], ["a", "mac"]),
            ("filling behind the end is cut off", archive(Member("a")) + b"\0" * 6000, "comment", [""], ["a"]),
            ("a Mac's folders stay with what is added", ditto, "add", ["mac"], [*DITTO, "mac"]),
            ("with a duplicate", ditto, "duplicate", ["d/f", "d/g"], [*DITTO, "d/g", "__MACOSX/d/._g"]),
            ("where room is freed", ditto, "compact", [], DITTO),
            ("where a member goes", ditto, "delete", ["d/f"], [name for name in DITTO if name[-1] != "f"]),
            ("and go with the folder, but nothing that only begins like it", ditto, "rename", ["d/", "new/e"],
             [name.replace("d/", "new/e/").replace("._d", "new/._e") for name in DITTO]),
            ("unless there is one of its new name", archive(*(Member(n, extra=UNIX_TIMES) for n in folders)), "rename",
             ["d", "e"], ["e/", *folders[1:]]),
            ("or with companions' own", archive(*(Member(n, extra=UNIX_TIMES) for n in SUB)), "comment", ["x"], SUB),
            ("a companion's companion goes with it", chain, "delete", ["a"], ["b"]),
            ("gets its new name", chain, "rename", ["a", "c"], ["c", "._c", "._._c", "b"]),
            ("and is duplicated", chain, "duplicate", ["a", "c"], ["a", "._a", "._._a", "b", "c", "._c", "._._c"]),
            ("another archiver's companion goes with it", foreign, "delete", ["a"], ["b"]),
            ("or gets its new name", foreign, "rename", ["a", "c"], ["c", "__MACOSX/._c", "b"]),
            ("a companion keeps to its tree, however that is spelt", archive(*pair("a", "__MacOSX/._a")), "rename",
             ["a", "b"], ["b", "__MacOSX/._b"]),
            ("a member goes by the name that is listed", listed, "delete", ["Größe"], ["b"]),
            ("is replaced by it", listed, "add", ["--as", "Größe", "mac"], ["b", "Größe"]),
            ("and renamed, without the old name in its extra field", listed, "rename", ["Größe", "c"], ["c", "b"]),
        ]
        for case in cases:
            self.check(*case)
        shared = [Member("x"), Member("short", b"1" * 10), Member("long", b"2" * 1000, offset=31)]
        self.check("a short member at a long one's data", archive(*shared), "delete", ["x"], ["short", "long"])
        self.assertIn(archive(*shared)[66:1066], self.zip.read_bytes())

    def test_edits_that_would_lose_something_are_refused(self):
        good = archive(Member("f", b"12345"), Member("g", b"1"))
        far = bytearray(good)
        struct.pack_into("<I", far, good.find(b"PK\1\2") + 20, 50000)
        long_name = "n" * 70000
        deep = archive(Member("f"), Member("d/x"), Member("e/y"))
        overlapping = archive(Member("hole", b"x", hole=True), Member("f", packed=Member("g").local()),
                              Member("g", offset=66), Member("x"))
        contrary = archive(Member("f", b"1", local_flags=2))
        cases = [
            ("a wrong count", archive(Member("f"), Member("g"), count=1), "delete", ["f"], "announces 1 member"),
            ("what lies behind the end", good + b"\0" * 6000 + b"x", "add", ["new"], "6001 bytes behind the end"),
            ("an archive of the same layout in front", good + archive(Member("f", b"54321"), Member("g", b"2")),
             "comment", ["x"], "bytes between its directory and its end record"),
            ("a Zip64 record that tells another story", archive(Member("f"), between=archive(zip64=True)[:76]),
             "comment", ["x"], "76 bytes between"),
            ("a mark of one part in front", b"PK00" + good, "delete", ["f"], "other data stands in front"),
            ("too many members", archive(*map(Member, map(str, range(65535)))), "add", ["new"], "format ends at 65535"),
            ("overlapping members", overlapping, "compact", [], "overlaps"),
            ("a comment with a signature", good, "comment", ["PK\5\6"], "signature"),
            ("a comment of 65536 bytes", good, "comment", ["x" * 65536], "65536 bytes"),
            ("a name that is taken", good, "duplicate", ["f", "G"], "exists already"),
            ("a name of nothing", good, "duplicate", ["f", "../"], "no name"),
            ("a name too long for a duplicate", good, "duplicate", ["f", long_name], "the format ends at 65535"),
            ("a name too long for a new member", good, "add", ["new", "--as", long_name], "longer than 65535 bytes"),
            ("a duplicate of data that reaches too far", bytes(far), "duplicate", ["f", "x"], "into the directory"),
            ("a duplicate of damaged data", archive(Member("f", b"1", crc=7)), "duplicate", ["f", "x"], "checksum"),
            ("a duplicate with another local header", contrary, "duplicate", ["f", "x"], "contradicts"),
            ("also if it is but a name", good.replace(b"f", b"F", 1), "duplicate", ["f", "x"], "contradicts"),
            ("renaming with another local header", contrary, "rename", ["f", "x"], "contradicts"),
            ("a new name that is taken", good, "rename", ["f", "g"], "exists already"),
            ("a new name where a companion is", archive(Member("._g", b"x"), Member("d/"), *pair("mac", "._mac")),
             "rename", ["mac", "g"], "exists already"),
            ("where only a folder is", archive(Member("f"), Member("d/")), "rename", ["f", "d"], "exists already"),
            ("a folder's new name where members lie in one", deep, "rename", ["e", "d"], "exists already, as a folder"),
            ("a folder's new name where a file is", deep, "rename", ["e", "f"], "f: exists already, and is no folder"),
            ("a duplicate's name where members lie in a folder", deep, "duplicate", ["f", "d"], "as a folder"),
            ("a file that is added where one is", deep, "add", ["new", "--as", "d"], "exists already, as a folder"),
            ("one that is added below a file", deep, "add", ["new", "--as", "f/g"], "f: exists already, and is no"),
            ("letter case to rename", good, "rename", ["F", "x"], "F: no such member"),
            ("letter case to delete", good, "delete", ["f", "F"], "nothing is deleted"),
            ("letter case to duplicate", good, "duplicate", ["F", "x"], "F: no such member"),
            ("the archive itself", good, "add", [self.zip], "it is the archive itself"),
            ("no such file", good, "add", ["missing"], "No such file"),
        ]
        for case in cases:
            self.check(*case)
        self.zip.write_bytes(overlapping)
        self.expect(1, "delete", "--dry-run", self.zip, "x", says="overlaps")

    def test_a_dry_run_says_what_would_be_done(self):
        self.zip.write_bytes(archive(Member("f", b"1"), Member("d/"), Member("d/g", b"2"), Member("é".encode("cp437"))))
        cases = [  # arguments, exit code, what is said on standard output, on standard error
            (["add", self.zip, "new", "--as", "f"], 0, "replace f\n", ""),
            (["add", self.zip, "new", "missing"], 3, "add new\n", "No such file"),
            (["add", "--encoding", "cp437", self.zip, "ü日", "é"], 3, "replace é\n", "letters that the archive's"),
            (["delete", self.zip, "d"], 0, "delete d/\ndelete d/g\n2 members to be deleted\n", ""),
        ]
        for arguments, code, said, errors in cases:
            with self.subTest(arguments):
                self.assertEqual(self.expect(code, *arguments, "-n", says=errors).decode(), said)

    def test_an_archive_of_no_members(self):
        """It is an end record alone, as others write it."""
        self.put("folder", {})
        self.expect(0, "create", "-q", self.zip, ".", cwd=self.root / "folder")
        self.assertEqual(self.zip.read_bytes(), archive())
        self.expect(1, "duplicate", self.zip, "f", "g", says="no such member")
        before = self.root.stat()
        for members in ([], [Member("/", mode=0o040500)]):
            self.zip.write_bytes(archive(*members))
            for verb in ("list", "test", "extract", "comment"):
                self.expect(0, verb, self.zip)
            self.assertIn(b"none", self.expect(0, "info", self.zip))
            self.assertEqual(self.root.stat().st_mode, before.st_mode)


if __name__ == "__main__":
    unittest.main()
