#!/usr/bin/env python3
"""forkzip create and add: what goes into an archive, and what is left out."""

import os
import random
import stat
import subprocess
import time
import unittest
import zipfile

from forkzip import ForkzipTest, Member, apple_double, archive, changed_at


def as_nobody():
    """In a process of root's: nothing is readable any more that is not for all."""
    if os.geteuid() == 0:
        os.setuid(65534)


class Adding(ForkzipTest):
    def create(self, *arguments, code=0, **options):
        """Makes the archive anew. Gives the names in it."""
        self.zip.unlink(missing_ok=True)
        self.expect(code, "create", "-q", self.zip, *arguments, **options)
        return self.names() if self.zip.exists() else None

    def test_what_is_excluded(self):
        """(patterns, what is left)"""
        paths, sub = ["t/a", "t/a.o", "t/sub"], ["t/sub/", "t/sub/.git/", "t/sub/.git/x", "t/sub/b"]
        cases = [(["./t/sub"], ["t/a", "t/a.o"]), (["*.o"], ["t/a", *sub]), (["t/sub/"], ["t/a", "t/a.o"]),
                 (["*/.git"], ["t/a", "t/a.o", "t/sub/", "t/sub/b"]), (["*.o", "[t]/s*"], ["t/a"]),
                 (["nothing", "t/su", "A"], ["t/a", "t/a.o", *sub])]
        for name in ("t/a", "t/a.o", "t/sub/.git/x", "t/sub/b"):
            self.write(name, "1")
        for patterns, left in cases:
            with self.subTest(patterns):
                self.assertEqual(self.create(*paths, *[f"--exclude={pattern}" for pattern in patterns]), left)
        options = ["-x", "*.o", "-x", "t/sub"]
        self.assertEqual(self.expect(0, "list", self.zip, *options), b"t/a\n")
        self.expect(0, "extract", "-q", self.zip, "-d", "out", *options)
        self.assertEqual(self.found(), {"t/a": b"1"})
        self.expect(0, "delete", "-q", self.zip, "t", *options)
        self.assertEqual(self.names(), ["t/a.o", *sub])
        self.expect(0, "add", "-q", self.zip, "t", "-x", "t/*/.git", "-x", "*.o")
        before = self.zip.read_bytes()
        self.assertEqual(self.expect(0, "add", self.zip, "t", "-x", "*"), b"nothing to add\n")
        self.expect(3, "add", self.zip, "t", "missing", "-x", "*/*", "-x", "t", says="nothing to add")
        self.assertEqual(self.zip.read_bytes(), before)
        self.write("t/._a", apple_double(b"fork"))
        for mode, size in (("smart", 1), ("always", 256)):
            self.create("t", "-x", "*/._*", "--macbinary", mode)
            self.assertEqual(len(self.expect(0, "cat", "--raw", self.zip, "t/a")), size, "the fork is left out too")

    def test_paths_from_a_file(self):
        for name in ("a", "b c", "d\ne"):
            self.write(name, "1")
        cases = [("lines", b"a\nb c", ["a", "b c"]), ("zero bytes", b"d\ne\0a\0", ["d\ne", "a"])]
        for what, text, names in cases:
            self.write("names", text)
            for source, given in (("names", {}), ("-", {"input": text})):
                with self.subTest(what, source=source):
                    self.create("--files-from", source, **given)
                    self.assertEqual([member["name"] for member in self.members()], names)
        self.create("--files-from", "-", input=b"\n", code=2, says="PATH is required")
        for bad in ("missing", "."):
            self.create("--files-from", bad, code=3, says=f"{bad}: cannot be read")

    def test_only_what_is_newer_is_added(self):
        dos = 1704067200 + time.timezone  # of the members: 2024-01-01, in local time
        stamped = [Member(name, extra=changed_at(1000)) for name in ("t/", "t/old", "t/new", "t/side")]
        self.zip.write_bytes(archive(*stamped, Member("t/dos", b"1"), Member("t/dos newer", b"1")))
        before = self.zip.read_bytes()
        for name, age in (("old", 1000), ("new", 1001), ("side", 1000), ("._side", 1001), ("dos", dos + 1),
                          ("dos newer", dos + 2), ("fresh", 1)):
            self.write(f"t/{name}", apple_double(b"fork") if name == "._side" else b"22")
            os.utime(self.root / "t" / name, (age, age))
        os.utime(self.root / "t", (1000, 1000))
        added = ["replace t/dos newer", "add t/fresh", "replace t/new", "replace t/side"]
        self.assertEqual(self.expect(0, "add", "--newer", "-n", self.zip, "t").decode().splitlines(), added)
        self.assertEqual(self.zip.read_bytes(), before)
        self.expect(0, "add", "--newer", self.zip, "t")
        self.assertEqual(self.names(), ["t/", "t/old", "t/dos", *(line.split(" ", 1)[1] for line in added)])
        after = self.zip.stat()
        os.utime(self.root / "t", (1000, 1000))
        os.utime(self.root / "t/._side", (1000, 1000))
        self.expect(0, "add", "--newer", self.zip, "t")
        self.assertEqual(self.zip.stat().st_ino, after.st_ino, "nothing is newer any more")
        self.expect(3, "add", "--newer", self.zip, "missing", says="missing: left out")

    def test_what_was_added_replaces_what_bears_its_name(self):
        self.write("good", "new")
        os.truncate(self.write("gone", "new"), 3 << 30)  # larger than a member may be
        self.zip.write_bytes(archive(Member("good", b"old"), Member("gone", b"old")))
        self.expect(3, "add", self.zip, "good", "gone", says="gone: left out")
        self.assertEqual((self.cat("good"), self.cat("gone")), (b"new", b"old"))

    def test_no_two_members_get_one_name(self):
        self.write("x", "another")
        self.write("deep/x", "this")
        for other, code, says in (("./x", 0, ""), ("../x", 3, "another file has the name")):
            with self.subTest(other):
                self.assertEqual(self.create("x", other, code=code, cwd=self.root / "deep", says=says), ["x"])
                self.assertEqual(self.cat("x"), b"this")

    def test_what_a_tree_leaves_out(self):
        self.write("t/sub/a", "1")
        os.mkfifo(self.root / "t/fifo")
        for link, target in (("to a file", "sub/a"), ("to a folder", "sub"), ("dangling", "nowhere")):
            (self.root / "t" / link).symlink_to(target)
        self.zip = self.root / "t/inside.zip"
        names = self.create("--follow-links", "t", code=3, says="fifo: left out")
        self.assertEqual(names, ["t/", "t/sub/", "t/sub/a", "t/to a file"])
        (self.root / "t/fifo").unlink()
        self.expect(3, "create", self.zip, "t", says="exists already")
        self.zip.unlink()
        for verb, says in (("create", ""), ("add", "left out, it is the archive itself")):
            self.write("t/.inside.zip.forkzip-new", "left by a run that was killed")
            self.expect(0, verb, "-q", self.zip, "t", says=says)
            self.assertFalse([name for name in self.names() if "inside" in name])
        self.root.chmod(0o755)
        (self.root / "t").chmod(0o555)
        self.expect(3, "create", "t/new.zip", "t/sub", says=".new.zip.forkzip-new: Permission denied",
                    preexec_fn=as_nobody)

    def test_names_and_modes_of_what_is_added(self):
        self.write("new", "x").chmod(0o751)
        self.put("d", {})
        for argument, name in (("./new", "new"), (self.root / "new", str(self.root / "new")[1:]), ("d/../new", "new")):
            self.assertEqual(self.create(argument), [name])
        self.create("new", "d", "--no-permissions", preexec_fn=lambda: os.umask(0o027))
        self.assertEqual(stat.S_IMODE(self.zip.stat().st_mode), 0o640)
        with zipfile.ZipFile(self.zip) as other:
            self.assertEqual([info.external_attr for info in other.infolist()], [0, 0x10])
        self.expect(2, "add", self.zip, "new", "d", "--as", "x", says="--as names one item")
        self.expect(2, "add", self.zip, "new", "--as", "", says="no name for a member")
        self.expect(2, "create", "", "new", says="empty name")

    def test_mac_binary(self):
        data, alone = b"data fork " * 20, b"no side file of anything"
        forks = {"mac": b"resource fork " * 20, "typed": b"", "link": b"a link's fork"}
        side_files = {f"._{name}": apple_double(fork) for name, fork in forks.items()}
        self.put("src", {"._alone": alone, **{name: data for name in forks}, **side_files})
        for name in ("link", "._link"):
            (self.root / "src" / name).rename(self.root / name)
        (self.root / "src/link").symlink_to("../link")
        (self.root / "src/folder").mkdir()
        plain = ["._alone", "folder/", "link", "mac", "typed"]
        cases = {"never": [*plain, "._mac", "._typed"], "smart": [*plain, "._typed"], "always": plain}
        for mode, names in cases.items():
            with self.subTest(mode):
                given = ["--follow-links", "--macbinary", mode, "."]
                self.assertEqual(self.create(*given, cwd=self.root / "src"), sorted(names))
                self.expect(0, "test", "-q", self.zip)
                self.assertEqual(self.cat("mac"), data)
                self.put("out", {})
                self.expect(0, "extract", "-q", self.zip, "-d", "out")
                of_link = apple_double(b"" if mode == "never" else forks["link"])
                self.assertEqual(self.found(), {"._alone": alone, **{name: data for name in forks}, **side_files,
                                                "._link": of_link})
                if mode != "never":
                    listed = subprocess.run(["lsar", "-j", self.zip], capture_output=True, check=True).stdout
                    self.assertIn(b"XADIsResourceFork", listed)
                    self.assertIn(b"XADFileType", listed)
        self.root.chmod(0o755)
        (self.root / "src/typed").chmod(0)
        self.expect(3, "create", "-q", "--macbinary", "always", "-", "src", says="cannot be read: Permission denied",
                    stdout=subprocess.DEVNULL, preexec_fn=as_nobody)

    def test_memory_stays_flat(self):
        """For a large file, and for many with little but noise in them."""
        noise = random.Random(2)
        for i in range(24):
            self.write(f"n/{i}", noise.randbytes(8 << 20))
        self.write("n/large", noise.randbytes(1 << 20) * 60)
        self.write("small", "1")
        os.truncate(self.write("large", ""), 1 << 29)
        base, large, one, three = (self.peak("create", jobs, f"{jobs}{path}.zip", path) for jobs, path in
                                   (("-j1", "small"), ("-j1", "large"), ("-j1", "n"), ("-j3", "n")))
        self.assertLess(large - base, 16, "MiB more for half a gibibyte")
        self.assertLess(three - one, 3 * 24 + 8)


if __name__ == "__main__":
    unittest.main()
