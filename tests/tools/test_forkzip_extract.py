#!/usr/bin/env python3
"""forkzip extract: what arrives on disk, what is refused, and what is left when it does not work out."""

import fcntl
import os
import unittest
from pathlib import Path

from forkzip import DEFLATED, UNIX_TIMES, ForkzipTest, Member, apple_double, archive, changed_at, mac_binary

LINK = 0o120777
OVER = ["--overwrite"]


def companion(name, fork=b"fork", **fields):
    return Member(name, apple_double(fork), **{"extra": UNIX_TIMES, **fields})


class Extract(ForkzipTest):
    def extract(self, code=0, *arguments, says="", **options):
        return self.expect(code, "extract", self.zip, "-d", self.out, *arguments, says=says, **options)

    def check(self, what, members, before, arguments, code, says, after, foreseen=True):
        """Extracts members to a folder that holds `before`, and then `after`. A dry run tells the same, where it can
        foresee that without looking at data, and leaves all as it is."""
        with self.subTest(what):
            self.put("elsewhere", {})
            self.put("out", before)
            self.zip.write_bytes(archive(*members))
            rehearsal = self.run_tool("extract", self.zip, "-d", "out", *arguments, "--dry-run")
            self.assertEqual(self.found(), before)
            result = self.run_tool("extract", self.zip, "-d", "out", *arguments)
            self.assertIn(says, result.stderr.decode())
            self.assertEqual((result.returncode, self.found()), (code, after), result.stderr)
            self.assertEqual(self.found("elsewhere"), {})
            if not says:
                self.assertEqual(result.stderr, b"")
            if foreseen:
                self.assertEqual(sorted(rehearsal.stderr.splitlines()), sorted(result.stderr.splitlines()))
                *actions, total = rehearsal.stdout.splitlines()
                self.assertEqual(total.replace(b"to be ", b""), result.stdout.rstrip())
                self.assertEqual(len(actions), int(total.split()[0]))

    def test_members_that_are_refused(self):
        """While the others are extracted."""
        cases = [
            ("upward from a folder", Member("d/../../evil", b"x"), "leads out of the destination"),
            ("an absolute path", Member("/evil", b"x"), "absolute path"),
            ("through a link that is there", Member("link/evil", b"x"), "a symbolic link is in the way"),
            ("a folder through a link", Member("link/evil/"), "a symbolic link is in the way"),
            ("a link with an absolute target", Member("l", b"/etc", mode=LINK), "leads out of the destination"),
            ("a link that leads up by way of another", Member("d/l", b"x/../../..", mode=LINK), "leads out"),
            ("a link that goes back from a link", Member("l", b"link/../x", mode=LINK), "has no folder"),
            ("a link without a target", Member("l", b"", mode=LINK), "has no target"),
            ("a stored link with a wrong sum", Member("l", b"good", mode=LINK, crc=1), "the checksum of its data"),
            ("a folder's data with a wrong sum", Member("d/", mac_binary(b"", b""), crc=1), "the checksum of its data"),
            ("a name of a folder's own", Member("d/.", b"x"), "cannot be that of a file"),
            ("a name with a zero byte", Member(b"a\0b", b"x"), "cannot be that of a file"),
            ("no name", Member("", b"x"), "no name"),
            ("no data that can be had", Member("aes", b"x", flags=1, local_flags=1), "Unsupported format"),
        ]
        link = {"link": Path("../elsewhere")}
        for what, member, message in cases:
            self.check(what, [member, Member("good", b"1")], link, [], 1, message, {**link, "good": b"1"},
                       foreseen=member.mode != LINK and member.crc != 1)
            self.assertFalse((self.root / "evil").exists())
        inner, target = b"../../d/e/../f", {"inner": Path("d"), "d/f": b"1", "d/e/up and down": Path("../../d/e/../f")}
        self.check("but no member is led astray by an archive's link",
                   [Member("l", b"../elsewhere", mode=LINK), Member("l/evil", b"x"), Member("inner", b"d", mode=LINK),
                    Member("d/f", b"1"), Member("d/e/up and down", inner, mode=LINK)],
                   {}, [], 1, "leads out of the destination", {**target, "l/evil": b"x"}, foreseen=False)

    def test_files_that_are_there(self):
        members = [Member("f", b"new"), Member("l", b"new"), Member("fresh", b"new"), Member("to f", b"f", mode=LINK)]
        before = {**dict.fromkeys(("f", "target", "to f", "d/inner", "e/inner"), b"old"), "l": Path("target")}
        after = {**before, "f": b"new", "l": b"new", "to f": Path("f"), "fresh": b"new"}
        bad, folders = Member("f", b"new", DEFLATED, crc=1), [Member("d", b"new"), Member("e", b"f", mode=LINK)]
        exists, is_folder = "exists already and is kept; --overwrite", "a folder is there already"
        self.check("they are kept", members, before, [], 3, exists, {**before, "fresh": b"new"})
        self.check("and replaced when that is wanted", members, before, OVER, 0, "", after)
        self.check("but not by damaged data", [bad], before, OVER, 1, "error", before, foreseen=False)
        self.check("which does not matter otherwise", [bad], before, [], 3, exists, before)
        self.check("nor is a folder ever", folders, before, OVER, 3, is_folder, before)
        twice = [Member("k", b"1"), Member("k", b"2")]
        self.check("a member of the same name is kept", twice, {}, [], 3, exists, {"k": b"1"})
        self.check("or replaced", twice, {}, OVER, 0, "", {"k": b"2"})
        links = [Member("k", b"b", mode=LINK), twice[0]]
        self.check("a link of that name gives way", links, {}, [], 3, exists, {"k": b"1"})
        self.check("a file stays where a folder should be", [Member("c", b"1"), Member("c/d", b"2")], {}, [], 3,
                   "folder out/c: Not a directory", {"c": b"1"})
        self.write("f", "")
        for path in ("f", "f/x"):
            for dry in ([], ["-n"]):
                self.expect(3, "extract", self.zip, "-d", path, *dry, says=f"destination {path}: Not a directory")

    def test_folders_that_are_closed(self):
        self.zip.write_bytes(archive(Member("d/e/", mode=0o040000), Member("d/e/g", b"1"), Member("d/", mode=0o040000)))
        self.out.mkdir()
        self.root.chmod(0o755), self.out.chmod(0o333)
        self.extract(0, "-q", preexec_fn=lambda: os.setuid(65534) if os.getuid() == 0 else None)

    def test_forks_go_to_the_side_file(self):
        fork = b"resource fork " * 30
        both = {"d/mac": b"data", "d/._mac": apple_double(fork)}
        mac = Member("d/mac", b"data", extra=UNIX_TIMES)
        for what, members in (("of a companion", [mac, companion("__MACOSX/d/._mac", fork, method=DEFLATED)]),
                              ("of one in front", [Member("__MACOSX/"), companion("d/._mac", fork), mac]),
                              ("of MacBinary", [Member("d/mac", mac_binary(b"data", fork), DEFLATED)]),
                              ("of MacBinary, stored", [Member("d/mac", mac_binary(b"data", fork))])):
            for before in ({}, both):
                self.check(what, members, before, ["d", *OVER], 0, "", both)
            self.assertEqual(self.cat("d/mac"), b"data")

    def test_folders_keep_their_mac_data_and_in_any_case_their_mode(self):
        data = bytearray(apple_double(b"fork " * 20, bytes(8)))
        data[58:60] = b"\4\0"  # Finder flags
        folder = Member("d/", mode=0o040750, extra=UNIX_TIMES)
        for what, fields, code, says, after in (("sound", {}, 0, "", {"._d": bytes(data)}),
                                                ("damaged", {"crc": 1}, 1, "d/: its companion", {})):
            members = [folder, Member("__MACOSX/._d", bytes(data), DEFLATED, extra=UNIX_TIMES, **fields)]
            self.check(what, members, {}, ["-q"], code, says, after, foreseen=False)
            self.expect(code, "test", self.zip, says=says)
            self.assertEqual((self.out / "d").stat().st_mode, 0o040750)
            if code == 0:
                self.assertEqual((self.out / "d").stat().st_mtime, 1700000000)

    def test_side_files_that_are_there(self):
        wrapped, old = mac_binary(b"data", b"fork"), apple_double(b"old fork")
        long, plain = "n" * 254, Member("mac", b"1", extra=UNIX_TIMES)
        side_file, text, both = {"._mac": old}, {"._mac": b"text"}, {"mac": b"old", "._mac": old}
        mac, new = Member("mac", wrapped), {"mac": b"data", "._mac": apple_double(b"fork")}
        taken, damaged = "._mac, where its Mac data", companion("__MACOSX/._mac", crc=1)
        foreign, link = [mac, Member("._mac", b"text")], {"._mac": Path("target")}
        cases = [
            ("kept, and the member with it", [mac], side_file, [], 3, taken, side_file),
            ("kept by a member that fails", [Member("mac", wrapped, crc=1)], both, OVER, 1, "checksum", both),
            ("kept where it is a text", [mac], text, OVER, 3, "something else", text),
            ("kept where it is a link", [mac], link, OVER, 1, "link is in the way", link),
            ("kept by a member without fork", [plain], both, OVER, 0, "", {**both, "mac": b"1"}),
            ("kept with --raw", [mac], both, [*OVER, "--raw"], 0, "", {**both, "mac": wrapped}),
            ("a member is kept", foreign[::-1], both, OVER, 1, "the member ._mac", {**both, "._mac": b"text"}),
            ("a fork is kept", foreign, {}, OVER, 1, "data of another", new),
            ("kept out by its long name", [Member(long, b"data", extra=UNIX_TIMES), companion("._" + long, b"")],
             {}, [], 3, "data cannot be written to ._nnn", {}),
            ("kept out by a companion that is damaged", [plain, damaged], {}, [], 1, "its companion: the checksum", {}),
            ("kept by a folder", [Member("mac/", mac_binary(b"", b""))], side_file, [], 3, taken, side_file),
        ]
        for case in cases:
            self.check(*case, foreseen=False)
        self.check("a companion's place shows before", [plain, companion("._mac")], side_file, [], 3, taken, side_file)

    def test_names_that_are_stripped(self):
        wrapped, fork = mac_binary(b"4", b"fork"), apple_double(b"fork")
        members = [
            Member("t/", mode=0o040700), Member("t/a", b"1"), Member("t/d/b", b"2"), Member("short", b"3"),
            Member("t/mac", wrapped), Member("../up", b"5"), Member("/root", b"6"), Member("t/l", b"d/b", mode=LINK),
            Member("r/c", b"8", extra=UNIX_TIMES), companion("__MACOSX/r/._c")]
        bad = [Member("t/x/../y", b"7"), Member("t/d/out", b"../../evil", mode=LINK)]
        one = {"a": b"1", "d/b": b"2", "l": Path("d/b"), "mac": b"4", "up": b"5", "root": b"6", "c": b"8"}
        cases = [
            ("1", members, [], 0, "", {**one, "._mac": fork, "._c": fork}),
            ("1", members, ["--raw"], 0, "", {**one, "mac": wrapped, "r/._c": fork}),
            ("1", members, ["-x", "t", "-x", "[!r]*", "-x", "*/._*"], 0, "", {"c": b"8"}),
            ("1", bad[:1], [], 1, "leads out of the destination by", {}),
            ("1", bad[1:], [], 1, "the symbolic link leads out", {}),
            ("2", members + bad, [], 1, "t/x/../y: refused", {"b": b"2"}),
            ("2", members, ["--raw"], 0, "", {"b": b"2", "._c": fork}),
            ("9", members, ["--raw"], 0, "", {}),
        ]
        self.extract(2, "--strip-components", "-1", says="Value -1 not in range 0 to 65535")
        for count, given, arguments, *outcome in cases:
            arguments = ["--strip-components", count, *arguments]
            self.check(arguments, given, {}, arguments, *outcome, foreseen=False)

    def test_only_what_is_newer(self):
        ages = [("older", 999), ("same", 1000), ("newer", 1001), ("fresh", 1), ("twice", 1002), ("twice", 1001)]
        self.zip.write_bytes(archive(*[Member(name, b"new", extra=changed_at(age)) for name, age in ages],
                                     Member("l", b"f", mode=LINK, extra=changed_at(1))))
        old = ("older", "same", "newer", "l")
        self.put("out", dict.fromkeys(old, "old"))
        for name in old:
            os.utime(self.out / name, (1000, 1000))
        new = ("newer", "fresh", "twice")
        would = self.extract(0, "--newer", "--dry-run").decode()
        self.assertEqual(would.split("\n"), [*(f"extract {name}" for name in (*new, "twice")),
                                             "4 members to be extracted", ""])
        self.assertEqual(self.extract(0, "--newer"), b"3 members extracted\n")
        self.assertEqual(self.found(), {**dict.fromkeys(old, b"old"), **dict.fromkeys(new, b"new")})
        self.assertEqual((self.out / "twice").stat().st_mtime, 1002)
        self.assertEqual(self.extract(0, "--newer"), b"0 members extracted\n")

    def test_what_a_killed_run_leaves_is_in_no_ones_way(self):
        """A file of mode 1000 is one that it was making; one that is merely empty is a user's."""
        large = {"large": bytes(70000), "small": b"new"}
        self.zip.write_bytes(archive(*map(Member, [*large, "kept"], [*large.values(), b"new"])))
        self.put("out", {".forkzip-2-2": "part of a large file", "large": "", "small": "", "kept": ""})
        for name in large:
            (self.out / name).chmod(0o1000)
        self.assertIn(b"2 members to be", self.extract(3, "--dry-run", says="kept: exists already"))
        self.extract(3, says="kept: exists already")
        self.assertEqual(self.found(), {".forkzip-2-2": b"part of a large file", **large, "kept": b""})
        names = [".forkzip-1-1", "d/.forkzip-1-1", "large", "d/f"]
        self.zip.write_bytes(archive(*map(Member, names)))
        folder = os.open(self.out, os.O_RDONLY)
        fcntl.flock(folder, fcntl.LOCK_SH)  # as a run at work does, whose process cannot be seen from here
        self.extract(0, "-q", "--overwrite")
        self.assertEqual(sorted(self.found()), sorted([".forkzip-2-2", *names, "kept", "small"]))
        os.close(folder)
        self.extract(0, "-q", "--overwrite")
        self.assertEqual(sorted(self.found()), sorted([*names, "kept", "small"]))


if __name__ == "__main__":
    unittest.main()
