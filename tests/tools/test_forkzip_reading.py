#!/usr/bin/env python3
"""forkzip list, info, test, cat: archives of other tools, and what is told of them."""

import json
import os
import struct
import subprocess
import unittest
import zipfile
import zlib

from forkzip import ForkzipTest, Member, apple_double, archive


def true_name(info):
    """A name that is UTF-8 whether the archive says so or not."""
    return info.filename if info.flag_bits & 0x800 else info.filename.encode("cp437").decode()


class Listing(ForkzipTest):
    def run_shell(self, command):
        subprocess.run(command, shell=True, cwd=self.root, check=True, capture_output=True)

    def test_archives_of_other_tools(self):
        self.write("t/plain.txt", "words " * 400)
        self.write("t/Größe/日本.txt", b"\0\1\2")
        self.write("t/empty", b"")
        (self.root / "t/plain.txt").chmod(0o750)
        makers = {
            "zip": ["zip", "-qr", self.zip, "t"],
            "zip stored": ["zip", "-qr0", self.zip, "t"],
            "zip streamed": ["sh", "-c", f"zip -qr - t | cat > {self.zip}"],
            "7zz": ["7zz", "a", "-bd", self.zip, "t"],
            "bsdtar": ["bsdtar", "--format=zip", "-cf", self.zip, "t"],
            "python": ["python3", "-m", "zipfile", "-c", self.zip, "t"],
        }
        for maker, command in makers.items():
            with self.subTest(maker):
                self.zip.unlink(missing_ok=True)
                subprocess.run(command, cwd=self.root, check=True, capture_output=True)
                with zipfile.ZipFile(self.zip) as other:
                    expected = [(true_name(i), i.file_size, i.compress_size, f"{i.CRC:08x}", i.compress_type,
                                 "%04d-%02d-%02dT%02d:%02d:%02d" % i.date_time, i.is_dir(), f"{i.external_attr >> 16:o}")
                                for i in other.infolist()]
                found = [tuple(m[key] for key in ("name", "size", "compressedSize", "crc32", "method", "time", "folder",
                                                  "mode")) for m in self.members()]
                self.assertEqual(found, expected)
                self.assertEqual(self.names(), [entry[0] for entry in expected])
                self.assertEqual(self.cat("t/Größe/日本.txt"), b"\0\1\2")
                self.expect(0, "test", "-q", self.zip)

    def test_what_other_programs_read_too(self):
        self.write("f", "words " * 100)
        self.zip.write_bytes(archive(Member("f", b"1")))
        plain, umlaut, mac = self.zip.read_bytes(), "Größe".encode("cp437"), ("__MACOSX/._f", apple_double(b"fork"))
        path = lambda name, of: struct.pack("<HHBI", 0x7075, 5 + len(name), 1, zlib.crc32(of)) + name
        times = struct.pack("<HHBI", 0x5455, 5, 1, 1700000000)
        self.run_shell("echo hi | zip -q st.zip -; echo hi | 7zz a -bd -siq 7z.zip; "
                       " (echo '#!/bin/sh'; cat a.zip) > sfx.zip; zip -q z.zip f; (echo '#!/bin/sh'; cat z.zip) > sfxa.zip; zip -A sfxa.zip")
        read = lambda name: (self.root / name).read_bytes()
        cases = [  # what, archive, options, names
            ("a program in front", read("sfx.zip"), [], ["f"]),
            ("the same with offsets that count it", read("sfxa.zip"), [], ["f"]),
            ("a mark of one part", b"PK00" + plain, [], ["f"]),
            ("an archive in front", archive(Member("x", b"no")) + plain, [], ["f"]),
            ("zip of a stream", read("st.zip"), [], ["-"]),
            ("7zz of a stream", read("7z.zip"), [], ["q"]),
            ("a version without need", archive(Member("f", b"1", version=45), Member("g", b"2")), [], ["f", "g"]),
            ("a Unicode Path", archive(Member(umlaut, b"1", extra=path("Größe".encode(), umlaut))), [], ["Größe"]),
            ("one of another name", archive(Member("f", b"1", extra=path(b"g", b"x"))), [], ["f"]),
            ("UTF-8", archive(Member("Größe", b"1")), ["--encoding", "utf-8"], ["Größe"]),
            ("DOS", archive(Member(umlaut, b"1")), ["--encoding", "cp437"], ["Größe"]),
            ("Windows", archive(Member("Größe".encode("cp1252"), b"1")), ["--encoding", "windows-1252"], ["Größe"]),
            ("Mac", archive(Member("Größe".encode("mac-roman"), b"1")), ["--encoding", "mac-roman"], ["Größe"]),
            ("marked names beside others", archive(Member(umlaut, b"1"), Member("Maß", b"2", flags=0x800,
                                                                                local_flags=0x800)),
             ["--encoding", "cp437"], ["Größe", "Maß"]),
            ("a guess at DOS", archive(Member(umlaut, b"1")), ["--encoding", "auto"], ["Größe"]),
            ("a guess at Windows", archive(Member("Größe".encode("cp1252"), b"1")), ["--encoding", "auto"], ["Größe"]),
            ("a guess at UTF-8", archive(Member("Größe", b"1")), ["--encoding", "auto"], ["Größe"]),
            ("a guess behind a program", b"#!" + archive(Member(umlaut, b"1")), ["--encoding", "auto"], ["Größe"]),
            ("a folder without a slash", archive(Member("d", mode=0, host=0, attributes=0x10), Member("d/g", b"2")), [], ["d/", "d/g"]),
            ("companions of other archivers", archive(Member("f", b"1"), Member(*mac, extra=times)), [], ["f"]),
        ]
        for what, content, options, names in cases:
            with self.subTest(what):
                self.zip.write_bytes(content)
                self.assertEqual(self.expect(0, "list", *options, self.zip).decode().splitlines(), names)
                self.expect(0, "test", "-q", *options, self.zip)
                self.assertEqual(json.loads(self.expect(0, "info", "--json", *options, self.zip, names[-1]))["name"], names[-1])
                self.assertNotEqual(self.expect(0, "cat", *options, self.zip, names[-1]), b"")
                self.expect(0, "extract", "-q", *options, self.zip, "-d", what)
                files = [name for name in self.files_below(self.root / what) if not name.startswith("._")]
                self.assertEqual(files, [name for name in names if not name.endswith("/")])
                if what in ("a program in front", "zip of a stream", "an archive in front"):
                    self.expect(1, "delete", self.zip, names[0], says="not changed: ")
                    self.assertEqual(self.zip.read_bytes(), content)
                if what == "a guess at DOS":
                    self.assertIn(b"cp437, as a guess", self.expect(0, "info", *options, self.zip))
        self.zip.write_bytes(archive(*map(Member, map(str, range(65536))), zip64=True))  # only Zip64 counts so far
        self.expect(0, "test", "-q", self.zip)

    def test_what_is_listed_but_not_unpacked(self):
        self.write("f", "words " * 100)
        self.run_shell("7zz a -bd -tzip -mm=LZMA lzma.zip f; 7zz a -bd -tzip -pabc -mem=AES256 aes.zip f")
        size = struct.pack("<HHQ", 1, 8, 5 << 30)
        large = archive(Member("g", b"2"), Member("f", b"1", version=45, extra=size, size=0xFFFFFFFF))
        cases = [
            ("LZMA", (self.root / "lzma.zip").read_bytes(), "(14), LZMA; 7zz unpacks it"),
            ("AES", (self.root / "aes.zip").read_bytes(), "(encrypted by AES); 7zz unpacks it"),
            ("Zip64", large, "it holds 5.0 GiB, and forkzip unpacks members below 2 GiB"),
        ]
        for what, content, message in cases:
            with self.subTest(what):
                self.zip.write_bytes(content)
                self.assertIn("f\n", self.expect(0, "list", self.zip).decode())
                self.assertIn(message, self.expect(0, "list", "--long", self.zip).decode())
                self.assertIn(message, self.expect(0, "info", self.zip, "f").decode())
                self.assertIn(b"Not unpacked:", self.expect(0, "info", self.zip))
                for verb in (["test"], ["extract", "--overwrite"]):
                    self.expect(1, *verb, self.zip, says=f"{self.zip}: f: ")
                self.expect(1, "cat", self.zip, "f", says=message)

    def test_standard_input_and_output(self):
        (self.root / "tmp").mkdir()
        options = {"env": {**os.environ, "TMPDIR": str(self.root / "tmp")}}
        self.write("t/f", "words " * 20000)
        with open(self.root / "t/out.zip", "w+b") as out:
            self.expect(0, "create", "-", "t", stdout=out, says="t/out.zip: left out, it is the archive itself", **options)
        made = (self.root / "t/out.zip").read_bytes()
        self.assert_others_accept(self.root / "t/out.zip")
        for verb, *arguments in (["list"], ["info"], ["test", "-j2"], ["cat", "t/f"], ["extract", "-d", "out"]):
            with self.subTest(verb), open(self.root / "t/out.zip", "rb") as file:
                expected = self.expect(0, verb, "t/out.zip", *arguments).replace(b"t/out.zip", b"-")
                for source in {"input": made}, {"stdin": file}:
                    subprocess.run(["rm", "-rf", self.root / "out"], check=True)
                    self.assertEqual(self.expect(0, verb, "-", *arguments, **source, **options), expected)
        self.assertEqual((self.root / "out/t/f").read_bytes(), (self.root / "t/f").read_bytes())
        self.assertEqual(os.listdir(self.root / "tmp"), [], "a temporary file has no name")
        for arguments, refusal in ((["list", "-"], b"is not read from a terminal"), (["create", "-", "t"], b"is not written to a")):
            self.assertIn(refusal, self.shown(arguments))
        self.write("-", "")
        self.expect(2, "delete", "-", "f", says="is not to be changed")
        with open("/dev/full", "wb") as full:
            self.expect(3, "create", "-", "t/f", stdout=full, says="No space left")

    def test_a_tree(self):
        names = ["a-b", "a/", "b/c/d", "a/z", "b/c/e/", "b/c/d", "a/y", "//x", "k" * 99 + "/" + "m/" * 60 + "n"]
        self.zip.write_bytes(archive(*[Member(name) for name in names]))
        deep = "".join(f"{2 * i * ' '}m/\n" for i in range(1, 40)) + 80 * " " + "m/" * 21 + "n\n"
        self.assertEqual(self.expect(0, "list", "--tree", self.zip).decode(),
                         "/\n  /\n    x\na/\n  y\n  z\na-b\nb/\n  c/\n    d\n    d\n    e/\n" + "k" * 99 + "/\n" + deep)
        self.assertEqual(self.expect(0, "list", "--tree", self.zip, "-x", "[b]", "-x", "[!ab]*"), b"a/\n  y\n  z\na-b\n")
        self.assertEqual(json.loads(self.expect(0, "list", "--json", self.zip, "-x", "*")), [])
        self.expect(2, "list", "--tree", "--json", self.zip, says="--json has no meaning with --tree")

    def test_info(self):
        self.zip.write_bytes(archive(Member("f", b"12345"), Member("d/"), Member("e/"), comment="Größe".encode()))
        whole = json.loads(self.expect(0, "info", "--json", self.zip))
        expected = {"members": 3, "files": 1, "folders": 2, "size": 5, "comment": "Größe"}
        self.assertEqual({key: whole[key] for key in expected}, expected)
        self.assertEqual(json.loads(self.expect(0, "info", "--json", self.zip, "F"))["name"], "f")
        self.assertIn(b"5 bytes", self.expect(0, "info", self.zip, "f"))
        self.expect(1, "info", self.zip, "x", says="x: no such member")

    def test_archives_without_members(self):
        state = lambda: (self.root.stat().st_mode, self.root.stat().st_mtime)
        for members in ([], [Member("/", mode=0o040500)]):
            self.zip.write_bytes(archive(*members))
            before = state()
            self.assertIn(b"none", self.expect(0, "info", self.zip))
            self.expect(0, "test", "-q", self.zip)
            self.expect(0, "extract", "-q", self.zip, "-d", self.root)
            self.assertEqual(state(), before)

    def test_names_that_are_looked_up(self):
        names = ["a", "A", "dir/", "dir/one.txt", "dir/two.c", "other/one.txt", "[x]", "x", "dirx"]
        self.zip.write_bytes(archive(*[Member(name, name.encode()) for name in names]))
        cases = [
            ("the exact name before other letter case", ["A"], b"A"),
            ("other letter case if need be", ["DIR/ONE.TXT"], b"dir/one.txt"),
            ("a folder in other letter case", ["OTHER"], b"other/one.txt"),
            ("a folder and what is in it", ["dir"], b"dir/one.txtdir/two.c"),
            ("the same with a slash", ["dir/"], b"dir/one.txtdir/two.c"),
            ("a pattern passes slashes", ["*.txt"], b"dir/one.txtother/one.txt"),
            ("a pattern of brackets alone", ["[abc]"], b"a"),
            ("a name that looks like a pattern", ["[x]"], b"[x]"),
            ("no member twice, and all in the archive's order", ["dir/two.c", "*.txt", "dir", "A"],
             b"Adir/one.txtdir/two.cother/one.txt"),
            ("what is left out is so in its own letter case", ["a", "A", "-x", "A", "-x", "DIR"], b"a"),
            ("and by pattern though a name is like it", ["[x]", "x", "-x", "[x]"], b""),
        ]
        for what, arguments, expected in cases:
            with self.subTest(what):
                self.assertEqual(self.expect(0, "extract", "--stdout", self.zip, *arguments), expected)
        self.expect(1, "cat", self.zip, "*.txt", says="means 2 members")
        self.assertEqual(self.expect(0, "cat", self.zip, "dir/two.c", "[x]", "a", "a"), b"dir/two.c[x]aa")
        self.assertEqual(self.expect(1, "cat", self.zip, "missing", "a", says="missing: no such member"), b"a")
        self.zip.write_bytes(archive(Member("a", b"1"), Member("b"), Member("a", b"2")))
        self.assertEqual(self.expect(0, "cat", self.zip, "a"), b"12")
        self.assertEqual(os.listdir(self.root), ["a.zip"])
        self.expect(2, "extract", "--stdout", "-d", "x", self.zip, says="--destination has no meaning with --stdout")
        self.assertIn(b"0 members tested, 1 missing", self.expect(1, "test", self.zip, "y", says="y: no such member"))
        self.assertEqual(json.loads(self.run_tool("test", "--json", self.zip, "y").stdout)["missing"], ["y"])

    def test_wrong_usage(self):
        for arguments in ([], ["bla"], ["list"], ["list", "a", "--bla"], ["cat", "a"], ["list", "--encoding", "x", "a"],
                          ["list", "--progress", "a"]):
            with self.subTest(arguments):
                self.expect(2, *arguments, says="forkzip: ")
        self.expect(3, "list", self.zip.parent)
        for arguments in (["--help"], ["list", "--help"], ["extract", "--help"]):
            self.assertIn(b"Usage: forkzip", self.expect(0, *arguments))

    def test_a_full_disk_behind_standard_output(self):
        self.zip.write_bytes(archive(Member("f", b"12345")))
        for arguments in (["list", self.zip], ["--help"], ["--version"]):
            with open("/dev/full", "wb") as full, self.subTest(arguments):
                self.expect(3, *arguments, says="No space left", stdout=full)


if __name__ == "__main__":
    unittest.main()
