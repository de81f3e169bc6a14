#!/usr/bin/env python3
"""forkzip list, info, test, cat: archives of other tools, what is told of them, and how it looks on a terminal."""

import json
import os
import subprocess
import unittest
import zipfile

from forkzip import PROGRAM, ForkzipTest, Member, apple_double, archive, changed_at, unicode_path


def true_name(info):
    """A name that is UTF-8 whether the archive says so or not."""
    return info.filename if info.flag_bits & 0x800 else info.filename.encode("cp437").decode()


class Reading(ForkzipTest):
    def run_shell(self, command):
        subprocess.run(command, shell=True, cwd=self.root, check=True, capture_output=True)

    def test_archives_pass_between_tools(self):
        """What other tools make is listed and unpacked as they see it; and they unpack what forkzip makes."""
        for name, content in (("t/a", "hello " * 50), ("t/sub/日本.txt", "words " * 5000), ("t/sub/😀", ""),
                              ("t/Größe", os.urandom(3000))):
            self.write(name, content)
        (self.root / "t/a").chmod(0o750)
        (self.root / "t/Größe").chmod(0o444)
        (self.root / "t/empty").mkdir(mode=0o750)
        (self.root / "t/link").symlink_to("sub/😀")
        for path in [*(self.root / "t").rglob("*"), self.root / "t"]:
            os.utime(path, (1, 1600000001), follow_symlinks=False)
        made_by = {
            "python": "python3 -m zipfile -c a.zip t", "7zz": "7zz a -bd -snl a.zip t",
            "bsdtar": "bsdtar --format=zip -cf a.zip t", "zip streamed": "zip -qr - t | cat > a.zip",
            "zip stored": "zip -qry0 a.zip t", "zip": "zip -qry a.zip t", "forkzip": f"{PROGRAM} create -q a.zip t",
        }
        for maker, command in made_by.items():
            with self.subTest(maker):
                self.zip.unlink(missing_ok=True)
                self.run_shell(command)
                with zipfile.ZipFile(self.zip) as other:
                    expected = [{"name": true_name(info), "size": info.file_size, "compressedSize": info.compress_size,
                                 "crc32": f"{info.CRC:08x}", "method": info.compress_type, "folder": info.is_dir(),
                                 "time": "%04d-%02d-%02dT%02d:%02d:%02d" % info.date_time,
                                 "mode": f"{info.external_attr >> 16:o}"} for info in other.infolist()]
                self.assertEqual([{key: member[key] for key in expected[0]} for member in self.members()], expected)
                self.assertEqual(self.names(), [member["name"] for member in expected])
                self.expect(0, "test", "-q", self.zip)
                self.put("out", {})
                self.expect(0, "extract", "-q", self.zip, "-d", "out")
                if maker in ("bsdtar", "zip stored", "zip", "forkzip"):
                    self.assertEqual(self.described("out/t"), self.described("t"))
        self.assert_others_accept()
        for tool in ("unzip -q a.zip -d out", "bsdtar -xf a.zip -C out", "7zz x -bd -snl -oout a.zip"):
            with self.subTest(tool):
                self.put("out", {})
                self.run_shell(tool)
                (of_all, contents), (own, _) = self.described("out/t"), self.described("t")
                self.assertEqual(contents, self.found("t"))
                self.assertEqual({**of_all, "link": None}, {**own, "link": None})

    def test_what_other_programs_read_too(self):
        self.zip.write_bytes(archive(Member("f", b"1")))
        plain, umlaut = self.zip.read_bytes(), "Größe".encode("cp437")
        mac = Member("__MACOSX/._f", apple_double(b"fork"), extra=changed_at(1))
        latin, marked = "Größe".encode("cp1252"), Member("Maß", b"2", flags=0x800, local_flags=0x800)
        self.write("f", "words " * 100)
        self.run_shell("zip -q z.zip f; (echo '#!/bin/sh'; cat z.zip) | tee sfx.zip > sfxa.zip; zip -A sfxa.zip;"
                       "echo hi | zip -q stream.zip -")
        in_front, counted, stream = ((self.root / name).read_bytes() for name in ("sfx.zip", "sfxa.zip", "stream.zip"))
        folder = Member("d", mode=0, host=0, attributes=0x10)
        cases = [  # what, archive, encoding, names
            ("a program in front", in_front, "utf-8", ["f"]),
            ("the same with offsets that count it", counted, "utf-8", ["f"]),
            ("sizes in Zip64 form", stream, "utf-8", ["-"]),
            ("an archive in front", archive(Member("x", b"no")) + plain, "utf-8", ["f"]),
            ("a version without need", archive(Member("f", b"1", version=45), Member("g", b"2")), "utf-8", ["f", "g"]),
            ("a Unicode Path", archive(Member(umlaut, b"1", extra=unicode_path(umlaut, "Größe"))), "utf-8", ["Größe"]),
            ("one of another name", archive(Member("f", b"1", extra=unicode_path(b"x", "g"))), "utf-8", ["f"]),
            ("DOS", archive(Member(umlaut, b"1")), "cp437", ["Größe"]),
            ("Windows", archive(Member(latin, b"1")), "windows-1252", ["Größe"]),
            ("Mac", archive(Member("Größe".encode("mac-roman"), b"1")), "mac-roman", ["Größe"]),
            ("marked names beside others", archive(Member(umlaut, b"1"), marked), "cp437", ["Größe", "Maß"]),
            ("a guess at DOS", archive(Member(umlaut, b"1")), "auto", ["Größe"]),
            ("a guess at Windows", archive(Member(latin, b"1")), "auto", ["Größe"]),
            ("a guess at UTF-8", archive(Member("Größe", b"1")), "auto", ["Größe"]),
            ("a guess behind a program", b"#!" + archive(Member(umlaut, b"1")), "auto", ["Größe"]),
            ("a folder without a slash", archive(folder, Member("d/g", b"2")), "utf-8", ["d/", "d/g"]),
            ("companions of other tools", archive(Member("f", b"1"), mac), "utf-8", ["f"]),
        ]
        for what, content, encoding, names in cases:
            with self.subTest(what):
                options = ["--encoding", encoding, self.zip]
                self.zip.write_bytes(content)
                self.assertEqual(self.expect(0, "list", *options).decode().splitlines(), names)
                self.expect(0, "test", "-q", *options)
                self.assertEqual(json.loads(self.expect(0, "info", "--json", *options, names[-1]))["name"], names[-1])
                self.assertNotEqual(self.expect(0, "cat", *options, names[-1]), b"")
                self.expect(0, "extract", "-q", *options, "-d", what)
                self.assertEqual({*self.found(what)} - {"._f"}, {name for name in names if name[-1] != "/"})
                if what == "a guess at DOS":
                    self.assertIn(b"cp437, as a guess", self.expect(0, "info", *options))
        self.zip.write_bytes(archive(*map(Member, map(str, range(65536))), zip64=True))  # only Zip64 counts so far
        self.expect(0, "test", "-q", self.zip)

    def test_standard_input_and_output(self):
        self.put("tmp", {})
        options = {"env": {**os.environ, "TMPDIR": str(self.root / "tmp")}}
        self.write("t/f", "words " * 20000)
        with open(self.root / "t/out.zip", "w+b") as out:
            self.expect(0, "create", "-", "t", stdout=out, says="t/out.zip: left out, it is the archive", **options)
        made = (self.root / "t/out.zip").read_bytes()
        self.assert_others_accept(self.root / "t/out.zip")
        for verb, *arguments in (["list"], ["info"], ["test", "-j2"], ["cat", "t/f"], ["extract", "-d", "out"]):
            with self.subTest(verb), open(self.root / "t/out.zip", "rb") as file:
                expected = self.expect(0, verb, "t/out.zip", *arguments).replace(b"t/out.zip", b"-")
                for source in {"input": made}, {"stdin": file}:
                    self.put("out", {})
                    self.assertEqual(self.expect(0, verb, "-", *arguments, **source, **options), expected)
        self.assertEqual(self.found()["t/f"], (self.root / "t/f").read_bytes())
        self.assertEqual(self.found("tmp"), {}, "a temporary file has no name")
        self.assertIn(b"is not read from a terminal", self.shown(["list", "-"]))
        self.assertIn(b"is not written to a terminal", self.shown(["create", "-", "t"]))
        self.write("-", "")
        self.expect(2, "delete", "-", "f", says="is not to be changed")
        with open("/dev/full", "wb") as full:
            for arguments in (["create", "-", "t/f"], ["list", "t/out.zip"], ["--help"], ["--version"]):
                self.expect(3, *arguments, stdout=full, says="No space left")

    def test_a_tree(self):
        names = ["a-b", "a/", "b/c/d", "a/z", "b/c/e/", "b/c/d", "a/y", "//x", "k" * 99 + "/" + "m/" * 60 + "n"]
        self.zip.write_bytes(archive(*[Member(name) for name in names]))
        deep = "".join(f"{2 * i * ' '}m/\n" for i in range(1, 40)) + 80 * " " + "m/" * 21 + "n\n"
        self.assertEqual(self.expect(0, "list", "--tree", self.zip).decode(),
                         "/\n  /\n    x\na/\n  y\n  z\na-b\nb/\n  c/\n    d\n    d\n    e/\n" + "k" * 99 + "/\n" + deep)
        part = self.expect(0, "list", "--tree", self.zip, "-x", "[b]", "-x", "[!ab]*")
        self.assertEqual(part, b"a/\n  y\n  z\na-b\n")
        self.assertEqual(json.loads(self.expect(0, "list", "--json", self.zip, "-x", "*")), [])
        self.expect(2, "list", "--tree", "--json", self.zip, says="--json has no meaning with --tree")

    def test_info(self):
        self.zip.write_bytes(archive(Member("f", b"12345"), Member("d/"), Member("e/"), comment="Größe".encode()))
        expected = {"members": 3, "files": 1, "folders": 2, "size": 5, "comment": "Größe"}
        self.assertLessEqual(expected.items(), json.loads(self.expect(0, "info", "--json", self.zip)).items())
        self.assertEqual(json.loads(self.expect(0, "info", "--json", self.zip, "F"))["name"], "f")
        self.assertIn(b"5 bytes", self.expect(0, "info", self.zip, "f"))
        self.expect(1, "info", self.zip, "x", says="x: no such member")

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
        found = self.expect(1, "cat", self.zip, "missing", "[x]", "a", "a", says="missing: no such member")
        self.assertEqual(found, b"[x]aa")
        self.zip.write_bytes(archive(Member("a", b"1"), Member("b"), Member("a", b"2")))
        self.assertEqual(self.expect(0, "cat", self.zip, "a"), b"12")
        self.assertEqual(os.listdir(self.root), ["a.zip"])
        self.expect(2, "extract", "--stdout", "-d", "x", self.zip, says="--destination has no meaning with --stdout")
        self.assertIn(b"0 members tested, 1 missing", self.expect(1, "test", self.zip, "y", says="y: no such member"))
        self.assertEqual(json.loads(self.run_tool("test", "--json", self.zip, "y").stdout)["missing"], ["y"])

    def test_wrong_usage(self):
        for arguments in ([], ["bla"], ["list", "a", "--bla"], ["cat", "a"], ["list", "--encoding", "x", "a"]):
            self.expect(2, *arguments, says="forkzip: ")
        for arguments in (["--help"], ["list", "--help"], ["extract", "--help"]):
            self.assertIn(b"Usage: forkzip", self.expect(0, *arguments))

    def test_colors(self):
        self.zip.write_bytes(archive(Member("d/"), Member("l", b"d", mode=0o120777)))
        xterm, signs = {"TERM": "xterm"}, (b"\x1b[1;34md/\x1b[0m", b"\x1b[1;36ml\x1b[0m", b"\x1b[1;31mforkzip:\x1b[0m")
        for what, environment, colored in (("a terminal", xterm, True), ("NO_COLOR", {**xterm, "NO_COLOR": "1"}, False),
                                           ("NO_COLOR that is empty", {**xterm, "NO_COLOR": ""}, True),
                                           ("a dumb terminal", {"TERM": "dumb"}, False), ("an unknown one", {}, False)):
            with self.subTest(what):
                shown = self.shown(["list", self.zip], ["list", "--tree", self.zip], ["test", self.zip, "x"],
                                   env=environment)
                counts = [2, 2, 1, 10] if colored else [0] * 4
                self.assertEqual([shown.count(sign) for sign in (*signs, b"\x1b")], counts)
        self.expect(1, "test", self.zip, "x", says=f"forkzip: {self.zip}", env=xterm)
        self.assertEqual(self.expect(0, "list", self.zip, env=xterm), b"d/\nl\n")

    def test_a_terminal_gets_no_control_characters(self):
        self.zip.write_bytes(archive(Member(b"a\x1b[2J\xff\xc2\x9b\xe2\x80\xaeb", b"1"), comment=b"\x07"))
        shown = self.shown(["list", self.zip], ["comment", self.zip], ["test", self.zip])
        for bad in (b"\x1b[2J", b"\xff", b"\xc2\x9b", b"\xe2\x80\xae", b"\x07"):
            self.assertNotIn(bad, shown)
        self.assertIn(b"\x1b[2J", self.expect(0, "list", self.zip), "a pipe gets names as they stand")

    def test_the_bar_tells_how_far_it_is(self):
        self.zip.write_bytes(archive(Member("f", b"12345"), *[Member(f"{i}") for i in range(2000)]))
        errors = self.run_tool("extract", "--progress", self.zip, "-d", "out").stderr
        self.assertIn(b"100%", errors)
        self.assertLess(errors.count(b"["), 1000)
        closed = '"$0" extract --progress --overwrite a.zip -d out <&- >&- 2>&-'
        subprocess.run(["sh", "-c", closed, PROGRAM], cwd=self.root, check=False)
        self.assertEqual(self.found()["f"], b"12345", "no file takes the place of a closed stream")


if __name__ == "__main__":
    unittest.main()
