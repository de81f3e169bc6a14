#!/usr/bin/env python3
"""forkzip extract: what arrives on disk, what is refused, and what is left when it does not work out."""

import fcntl
import os
import re
import resource
import struct
import subprocess
import unittest

from forkzip import DEFLATED, UNIX_TIMES, ForkzipTest, Member, apple_double, archive, mac_binary, read_by_lsar

LINK = 0o120777


class Extract(ForkzipTest):
    def setUp(self):
        super().setUp()
        self.out = self.root / "out"

    def extract(self, code=0, *arguments, says="", **options):
        return self.expect(code, "extract", self.zip, "-d", self.out, *arguments, says=says, **options)

    def test_members_that_are_refused(self):
        cases = [
            ("upward", Member("../evil", b"x"), "leads out of the destination"),
            ("upward from a folder", Member("d/../../evil", b"x"), "leads out of the destination"),
            ("an absolute path", Member("/evil", b"x"), "absolute path"),
            ("through a link that is there", Member("link/evil", b"x"), "a symbolic link is in the way"),
            ("a folder through a link", Member("link/evil/"), "a symbolic link is in the way"),
            ("a link that leads up", Member("l", b"../evil", mode=LINK), "leads out of the destination"),
            ("a link with an absolute target", Member("l", b"/etc", mode=LINK), "leads out of the destination"),
            ("a link that leads up by way of another", Member("d/l", b"x/../../..", mode=LINK), "leads out"),
            ("a link that goes back from a link", Member("l", b"link/../x", mode=LINK), "has no folder"),
            ("a link that goes back from nothing", Member("l", b"x/../x", mode=LINK), "has no folder"),
            ("a link without a target", Member("l", b"", mode=LINK), "has no target"),
            ("a stored link with a wrong sum", Member("l", b"good", mode=LINK, crc=1), "the checksum of its data is wrong"),
            ("a folder's data with a wrong sum", Member("d/", mac_binary(b"", b""), crc=1), "the checksum of its data"),
            ("a name of a folder's own", Member("d/.", b"x"), "cannot be that of a file"),
            ("a name with a zero byte", Member(b"a\0b", b"x"), "cannot be that of a file"),
            ("no name", Member("", b"x"), "no name"),
        ]
        for what, member, message in cases:
            with self.subTest(what):
                subprocess.run(["rm", "-rf", self.out, self.root / "elsewhere"], check=True)
                (self.root / "elsewhere").mkdir()
                self.out.mkdir()
                (self.out / "link").symlink_to("../elsewhere")
                self.zip.write_bytes(archive(member, Member("good", b"1")))
                self.extract(1, says=message)
                self.assertEqual((self.out / "good").read_bytes(), b"1", "the other members are extracted")
                self.assertEqual(list((self.root / "elsewhere").iterdir()), [])
                self.assertFalse((self.root / "evil").exists())

    def test_a_link_of_the_archive_leads_no_member_astray(self):
        self.zip.write_bytes(archive(Member("l", b"../elsewhere", mode=LINK), Member("l/evil", b"x"),
                                     Member("inner", b"d", mode=LINK), Member("d/f", b"1"),
                                     Member("d/e/up and down", b"../../d/e/../f", mode=LINK)))
        (self.root / "elsewhere").mkdir()
        self.extract(1, says="leads out of the destination")
        self.assertEqual(list((self.root / "elsewhere").iterdir()), [])
        self.assertEqual((self.out / "inner/f").read_bytes(), b"1")
        self.assertEqual((self.out / "d/e/up and down").read_bytes(), b"1")

    def test_files_that_are_there(self):
        self.zip.write_bytes(archive(Member("f", b"new"), Member("bad", b"new", DEFLATED, crc=1), Member("l", b"new"),
                                     Member("d", b"new"), Member("fresh", b"new"), Member("to f", b"f", mode=LINK),
                                     Member("e", b"f", mode=LINK)))
        for overwrite in (False, True):
            subprocess.run(["rm", "-rf", self.out], check=True)
            for name in ("f", "bad", "target", "d/inner", "to f", "e/inner"):
                self.write(f"out/{name}", "old")
            (self.out / "l").symlink_to("target")
            errors = self.run_tool("extract", self.zip, "-d", self.out, *(["--overwrite"] if overwrite else [])).stderr
            self.assertEqual(errors.count(b": a folder is there already"), 2)
            self.assertEqual(errors.count(b"--overwrite replaces it"), 0 if overwrite else 4)
            content = {path: (self.out / path).read_bytes() for path in self.files_below(self.out)}
            changed = b"new" if overwrite else b"old"
            self.assertEqual(content, {"f": changed, "bad": b"old", "l": changed, "target": b"old", "d/inner": b"old",
                                       "fresh": b"new", "to f": changed, "e/inner": b"old"})

    def test_folders_that_are_closed(self):
        self.zip.write_bytes(archive(Member("d/e/", mode=0o040000), Member("d/e/g", b"1"), Member("d/", mode=0o040000)))
        self.out.mkdir()
        self.root.chmod(0o755), self.out.chmod(0o333)
        self.extract(0, "-q", preexec_fn=lambda: os.setuid(65534) if os.getuid() == 0 else None)

    def test_forks_go_to_the_side_file(self):
        fork = b"resource fork " * 30
        members = {
            "companion": [Member("d/mac", b"data", extra=UNIX_TIMES),
                          Member("__MACOSX/d/._mac", apple_double(fork), DEFLATED, extra=UNIX_TIMES)],
            "companion in front": [Member("__MACOSX/"), Member("d/._mac", apple_double(fork), extra=UNIX_TIMES),
                                   Member("d/mac", b"data", extra=UNIX_TIMES)],
            "MacBinary": [Member("d/mac", mac_binary(b"data", fork), DEFLATED)],
            "MacBinary, stored": [Member("d/mac", mac_binary(b"data", fork))],
        }
        for what, contents in members.items():
            with self.subTest(what):
                subprocess.run(["rm", "-rf", self.out], check=True)
                self.zip.write_bytes(archive(*contents))
                for _ in range(2):  # anew, then over what is there
                    self.extract(0, "-q", "d", "--overwrite")
                    self.assertEqual(self.files_below(self.out), ["d/._mac", "d/mac"])
                    self.assertEqual((self.out / "d/mac").read_bytes(), b"data")
                    self.assertEqual(read_by_lsar(self.out / "d/._mac"), (b"TEXTttxt", fork))
                self.assertEqual(self.cat("d/mac"), b"data")

    def test_folders_keep_their_mac_data_and_in_any_case_their_mode(self):
        companion = bytearray(apple_double(b"fork " * 20, bytes(8)))
        companion[58:60] = b"\4\0"  # Finder flags
        companion = bytes(companion)
        for what, crc in (("a sound companion", None), ("a damaged one", 1)):
            with self.subTest(what):
                subprocess.run(["rm", "-rf", self.out], check=True)
                fields = {"extra": UNIX_TIMES} if crc is None else {"extra": UNIX_TIMES, "crc": crc}
                self.zip.write_bytes(archive(Member("d/", mode=0o040750, extra=UNIX_TIMES),
                                             Member("__MACOSX/._d", companion, DEFLATED, **fields)))
                code = 0 if crc is None else 1
                self.expect(code, "test", self.zip, says="" if code == 0 else "d/: its companion")
                self.extract(code, "-q", says="" if code == 0 else "d/: its companion")
                self.assertEqual((self.out / "d").stat().st_mode, 0o040750)
                if code == 0:
                    side_file = (self.out / "._d").read_bytes()
                    self.assertEqual((side_file[50:60], side_file[82:]), (b"\0" * 8 + b"\x04\0", b"fork " * 20))
                    self.assertEqual((self.out / "d").stat().st_mtime, 1700000000)

    def test_side_files_that_are_there(self):
        wrapped, old = mac_binary(b"data", b"fork"), apple_double(b"old fork")
        long = "n" * 254
        mac, both, over = Member("mac", wrapped), {"mac": b"old", "._mac": old}, ["--overwrite"]
        cases = [
            ("kept, and the member with it", [mac], {"._mac": old}, [], "._mac, where its", {"._mac": old}),
            ("kept by a member that fails", [Member("mac", wrapped, crc=1)], both, over, "checksum", both),
            ("kept where it is a text", [mac], {"._mac": b"text"}, over, "something else", {"._mac": b"text"}),
            ("kept where it is a link", [mac], {"._mac": None}, over, "link is in the way", {"._mac": None}),
            ("kept by a member without fork", [Member("mac", b"1")], both, over, "", {**both, "mac": b"1"}),
            ("kept with --raw", [mac], both, [*over, "--raw"], "", {**both, "mac": wrapped}),
            ("a member is kept", [Member("._mac", b"text"), mac], both, over, "the member ._mac", {**both, "._mac": b"text"}),
            ("a fork is kept", [mac, Member("._mac", b"text")], {}, over, "data of another", {"mac": b"data", "._mac": b"fork"}),
            ("kept out where its name is too long", [Member(long, b"data", extra=UNIX_TIMES),
             Member("__MACOSX/._" + long, apple_double(b""), extra=UNIX_TIMES)], {}, [], "data cannot be written to ._nnn", {}),
            ("kept out by a companion that is damaged", [Member("mac", b"1", extra=UNIX_TIMES),
             Member("__MACOSX/._mac", apple_double(b"f"), extra=UNIX_TIMES, crc=1)], {}, [], "its companion: the checksum", {}),
            ("kept by a folder", [Member("mac/", mac_binary(b"", b""))], {"._mac": old}, [], "._mac, where", {"._mac": old}),
        ]
        for what, members, before, arguments, says, after in cases:
            with self.subTest(what):
                subprocess.run(["rm", "-rf", self.out], check=True)
                self.out.mkdir()
                for name, content in before.items():
                    (self.out / name).symlink_to("target") if content is None else (self.out / name).write_bytes(content)
                self.zip.write_bytes(archive(*members))
                result = self.run_tool("extract", self.zip, "-d", self.out, *arguments)
                self.assertIn(says, result.stderr.decode())
                of_the_disk = any(word in says for word in ("where", "else", "written"))
                self.assertEqual(result.returncode, 0 if not says else 3 if of_the_disk else 1)
                found = {path.name: None if path.is_symlink() else path.read_bytes()
                         for path in self.out.iterdir() if not path.is_dir()}
                if after.get("._mac") == b"fork":
                    found["._mac"] = read_by_lsar(self.out / "._mac")[1]
                self.assertEqual(found, after)

    def test_names_that_are_stripped(self):
        wrapped, companion = mac_binary(b"4", b"fork"), apple_double(b"fork")
        self.zip.write_bytes(archive(
            Member("t/", mode=0o040700), Member("t/a", b"1"), Member("t/d/b", b"2"), Member("short", b"3"),
            Member("t/mac", wrapped), Member("../up", b"5"), Member("/root", b"6"), Member("t/x/../y", b"7"),
            Member("t/l", b"d/b", mode=LINK), Member("t/d/out", b"../../evil", mode=LINK),
            Member("r/c", b"8", extra=UNIX_TIMES), Member("__MACOSX/r/._c", companion, extra=UNIX_TIMES)))
        self.assertEqual(self.expect(0, "cat", "--raw", self.zip, "t/mac"), wrapped)
        one = {"a": b"1", "d/b": b"2", "l": b"2", "mac": b"4", "up": b"5", "root": b"6", "c": b"8"}
        cases = [
            ("1", [], 1, ["leads out of the destination by", "the symbolic link leads out"],
             {**one, "._mac": None, "._c": None}),
            ("1", ["--raw", "-x", "*/x", "-x", "*/out"], 0, [], {**one, "mac": wrapped, "r/._c": companion}),
            ("1", ["-x", "t", "-x", "[!r]*", "-x", "*/._*"], 0, [], {"c": b"8"}),
            ("2", [], 1, ["t/x/../y: refused"], {"b": b"2"}),
            ("2", ["--raw", "-x", "*/x", "-x", "*/out"], 0, [], {"b": b"2", "._c": companion}),
            ("9", ["--raw"], 0, [], {}),
        ]
        self.extract(2, "--strip-components", "-1", says="Value -1 not in range 0 to 65535")
        for count, arguments, code, says, expected in cases:
            with self.subTest(count, arguments=arguments):
                subprocess.run(["rm", "-rf", self.out], check=True)
                for dry in (["--dry-run"], []):
                    result = self.run_tool("extract", "--strip-components", count, *arguments, *dry, self.zip, "-d", self.out)
                    self.assertEqual(self.out.exists(), not dry)
                    if not dry:
                        self.assertEqual([text for text in says if text not in result.stderr.decode()], [])
                        self.assertEqual(result.returncode, code)
                found = {name: (self.out / name).read_bytes() for name in self.files_below(self.out)}
                self.assertEqual(found.keys(), expected.keys())
                self.assertEqual({name for name in found if expected[name] not in (None, found[name])}, set())

    def test_only_what_is_newer(self):
        member = lambda name, age, **fields: Member(name, b"new", extra=struct.pack("<HHBI", 0x5455, 5, 1, age), **fields)
        self.zip.write_bytes(archive(member("older", 999), member("same", 1000), member("newer", 1001), member("fresh", 1),
                                     member("mac", 1001), member("twice", 1002), member("twice", 1001),
                                     Member("l", b"f", mode=LINK, extra=struct.pack("<HHBI", 0x5455, 5, 1, 1))))
        for name in ("older", "same", "newer", "l"):
            os.utime(self.write(f"out/{name}", "old"), (1000, 1000))
        would = self.extract(0, "--newer", "--dry-run").decode()
        self.assertEqual(re.findall(r"^extract (\w+)$", would, re.MULTILINE), ["newer", "fresh", "mac", "twice", "twice"])
        self.assertEqual(self.extract(0, "--newer"), b"4 members extracted\n")
        content = {name: (self.out / name).read_bytes() for name in self.files_below(self.out)}
        new = dict.fromkeys(("newer", "fresh", "mac", "twice"), b"new")
        self.assertEqual(content, {**new, **dict.fromkeys(("older", "same", "l"), b"old")})
        self.assertEqual((self.out / "twice").stat().st_mtime, 1002)
        self.assertEqual(self.extract(0, "--newer"), b"0 members extracted\n")

    def test_a_full_disk_leaves_nothing_half_written(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))
        for data, says in ((bytes(300000), ""), (mac_binary(b"", bytes(300000)), "its Mac data ")):
            self.zip.write_bytes(archive(Member("small", b"1"), Member("large", data, DEFLATED)))
            self.extract(3, "--overwrite", says=f"large: {says}cannot be written", preexec_fn=limit)
            self.extract(3, "--overwrite", says=": File too large", preexec_fn=limit)
            self.assertEqual(self.files_below(self.out), ["small"])
        self.expect(3, "extract", self.zip, "-d", self.zip, says="destination")

    def test_what_a_killed_run_leaves_is_in_no_ones_way(self):
        self.write("out/.forkzip-2-2", "part of a large file")
        self.zip.write_bytes(archive(Member("large", bytes(70000)), Member("small", b"new"), Member("kept", b"new")))
        for name in ("large", "small"):  # as a run leaves them that is killed while it makes them
            self.write(f"out/{name}", "").chmod(0o1000)
        self.write("out/kept", "").chmod(0o644)
        self.extract(3, says="kept: exists already")
        self.assertEqual((self.out / "small").read_bytes(), b"new")
        self.assertEqual((self.out / "large").stat().st_size, 70000)
        self.zip.write_bytes(archive(*map(Member, (".forkzip-1-1", "d/.forkzip-1-1", "large", "d/f"))))
        folder = os.open(self.out, os.O_RDONLY)
        fcntl.flock(folder, fcntl.LOCK_SH)  # as a run at work does, whose process cannot be seen from here
        self.extract(0, "-q", "--overwrite")
        new = [".forkzip-1-1", "d/.forkzip-1-1", "d/f", "kept", "large", "small"]
        self.assertEqual(self.files_below(self.out), sorted([".forkzip-2-2", *new]))
        os.close(folder)
        self.extract(0, "-q", "--overwrite")
        self.assertEqual(self.files_below(self.out), new)


if __name__ == "__main__":
    unittest.main()
