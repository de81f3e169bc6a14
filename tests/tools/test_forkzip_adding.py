#!/usr/bin/env python3
"""forkzip create and add: what goes into an archive, and that other tools read what comes out."""

import os
import random
import stat
import struct
import subprocess
import time
import unittest
import zipfile

from forkzip import PROGRAM, ForkzipTest, Member, apple_double, archive


class Adding(ForkzipTest):
    def tree(self):
        for name, content in (("t/a", "hello " * 50), ("t/sub/日本.txt", "words " * 5000), ("t/sub/😀", ""),
                              ("t/Größe", os.urandom(3000))):
            self.write(name, content)
        (self.root / "t/a").chmod(0o750)
        (self.root / "t/Größe").chmod(0o444)
        (self.root / "t/empty").mkdir(mode=0o750)
        (self.root / "t/link").symlink_to("sub/😀")
        for path in [*(self.root / "t").rglob("*"), self.root / "t"]:
            os.utime(path, (1, 1600000001), follow_symlinks=False)

    def described(self, folder, times_of_links):
        """What is below a folder, and itself: modes, times and contents."""
        found = {}
        for path in [self.root / folder, *(self.root / folder).rglob("*")]:
            status, link = path.lstat(), path.is_symlink()
            content = os.readlink(path) if link else path.is_file() and path.read_bytes()
            time_of_change = status.st_mtime if times_of_links or not link else None
            found[path.relative_to(self.root / folder)] = (status.st_mode, time_of_change, content)
        return found

    def test_what_is_packed_is_unpacked(self):
        """By other tools what forkzip made, and by forkzip what zip made."""
        self.tree()
        unpack = [["unzip", "-q", self.zip, "-d", "out"], ["bsdtar", "-xf", self.zip, "-C", "out"],
                  ["7zz", "x", "-bd", "-snl", f"-o{self.root}/out", self.zip],
                  [PROGRAM, "extract", "-q", self.zip, "-d", "out"]]
        for pack in ([PROGRAM, "create", "-q"], ["zip", "-qry"]):
            self.zip.unlink(missing_ok=True)
            subprocess.run([*pack, self.zip, "t"], cwd=self.root, check=True)
            self.assert_others_accept()
            for tool in unpack if pack[0] == PROGRAM else unpack[-1:]:
                with self.subTest(pack[0], tool=tool[0]):
                    subprocess.run(["rm", "-rf", "out"], cwd=self.root, check=True)
                    (self.root / "out").mkdir()
                    subprocess.run(tool, cwd=self.root, check=True, capture_output=True)
                    own = tool[0] == PROGRAM
                    self.assertEqual(self.described("out/t", own), self.described("t", own))

    def test_what_is_excluded(self):
        """(patterns, what is left)"""
        cases = [(["./t/sub"], ["t/a", "t/a.o"]), (["*.o"], ["t/a", "t/sub/", "t/sub/.git/", "t/sub/.git/x", "t/sub/b"]),
                 (["t/sub"], ["t/a", "t/a.o"]), (["t/sub/"], ["t/a", "t/a.o"]),
                 (["*/.git"], ["t/a", "t/a.o", "t/sub/", "t/sub/b"]),
                 (["*.o", "[t]/s*"], ["t/a"]), (["nothing", "t/su", "A"], None)]
        for name in ("t/a", "t/a.o", "t/sub/.git/x", "t/sub/b"):
            self.write(name, "1")
        self.expect(0, "create", "-q", "all.zip", "t/a", "t/a.o", "t/sub")
        whole = self.expect(0, "list", "all.zip").decode().splitlines()
        content = (self.root / "all.zip").read_bytes()
        for patterns, left in cases:
            left = whole if left is None else left
            options = [f"--exclude={pattern}" for pattern in patterns]
            for name in ("out", "a.zip"):
                subprocess.run(["rm", "-rf", name], cwd=self.root, check=True)
            with self.subTest(patterns):
                self.expect(0, "create", "-q", self.zip, "t/a", "t/a.o", "t/sub", *options)
                self.assertEqual(self.names(), left)
                if patterns[0][0] == ".":  # a path, as only create and add take
                    continue
                if "A" not in patterns:  # looked up in any letter case
                    self.assertEqual(self.expect(0, "list", "all.zip", *options).decode().splitlines(), left)
                self.expect(0, "extract", "-q", "all.zip", "-d", "out", *options)
                self.zip.write_bytes(content)
                self.expect(0, "delete", "-q", self.zip, "t", *options)
                self.assertEqual(self.names(), [name for name in whole if name not in left])
        self.write("t/sub/b", b"2")
        self.expect(0, "add", "-q", self.zip, "t", "-x", "t/*/b", "-x", "*.o")
        self.assertNotIn("t/sub/b", self.names())
        before = self.zip.read_bytes()
        self.assertEqual(self.expect(0, "add", self.zip, "t", "-x", "*"), b"nothing to add\n")
        self.expect(3, "add", self.zip, "t", "missing", "-x", "*/*", "-x", "t", says="nothing to add")
        self.assertEqual(self.zip.read_bytes(), before)
        self.write("t/._a", apple_double(b"fork"))
        for mode, size in (("smart", 1), ("always", 256)):
            self.expect(0, "create", "-q", f"{mode}.zip", "t", "-x", "*/._*", "--macbinary", mode)
            self.assertEqual(len(self.expect(0, "cat", "--raw", f"{mode}.zip", "t/a")), size, "the fork is left out too")

    def test_paths_from_a_file(self):
        for name in ("a", "b c", "d\ne"):
            self.write(name, "1")
        cases = [("lines", b"a\nb c", ["a", "b c"]), ("zero bytes", b"d\ne\0a\0", ["d\ne", "a"]), ("nothing", b"\n", None)]
        for what, text, names in cases:
            self.write("names", text)
            for source, given in (("names", {}), ("-", {"input": text})):
                with self.subTest(what, source=source):
                    self.zip.unlink(missing_ok=True)
                    says = "" if names else "PATH is required"
                    self.expect(0 if names else 2, "create", "-q", self.zip, "--files-from", source, says=says, **given)
                    self.assertEqual(names and [member["name"] for member in self.members()], names)
        self.expect(3, "create", self.zip, "--files-from", "missing", says="missing: cannot be read")
        self.expect(3, "create", self.zip, "--files-from", ".", says=".: cannot be read")

    def test_only_what_is_newer_is_added(self):
        stamp = lambda age: struct.pack("<HHBI", 0x5455, 5, 1, age)
        dos = 1704067200 + time.timezone  # of the members: 2024-01-01, in local time
        self.zip.write_bytes(archive(Member("t/", extra=stamp(1000)), Member("t/old", b"1", extra=stamp(1000)),
                                     Member("t/new", b"1", extra=stamp(1000)), Member("t/side", b"1", extra=stamp(1000)),
                                     Member("t/dos", b"1"), Member("t/dos newer", b"1")))
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
        for arguments, code in ((("x", "./x"), 0), (("x", "../x"), 3)):
            with self.subTest(arguments):
                self.zip.unlink(missing_ok=True)
                self.expect(code, "create", "-q", self.zip, *arguments, cwd=self.root / "deep",
                            says="another file has the name" if code else "")
                self.assertEqual((self.names(), self.cat("x")), (["x"], b"this"))

    def test_what_a_tree_leaves_out(self):
        self.tree()
        os.mkfifo(self.root / "t/fifo")
        (self.root / "t/to a folder").symlink_to("sub")
        (self.root / "t/dangling").symlink_to("nowhere")
        self.zip = self.root / "t/inside.zip"
        self.expect(3, "create", "-q", "--follow-links", self.zip, "t", says="fifo: left out")
        names = {"t/link", "t/to a folder", "t/dangling", "t/inside.zip"}.intersection(self.names())
        self.assertEqual(names, {"t/link"})
        (self.root / "t/fifo").unlink()
        self.expect(3, "create", self.zip, "t", says="exists already")
        self.zip.unlink()
        for verb in ("create", "add"):
            self.write("t/.inside.zip.forkzip-new", "left by a run that was killed")
            self.expect(0, verb, "-q", self.zip, "t", says="left out, it is the archive itself" if verb == "add" else "")
            self.assertFalse([name for name in self.names() if "inside" in name])
        self.root.chmod(0o777)
        self.expect(3, "create", "t/new.zip", "t/a", says="t/.new.zip.forkzip-new: Permission denied",
                    preexec_fn=lambda: os.geteuid() or os.setuid(65534))

    def test_names_and_modes_of_what_is_added(self):
        self.write("new", "x").chmod(0o751)
        (self.root / "d").mkdir()
        for argument, name in (("./new", "new"), (self.root / "new", str(self.root / "new")[1:]), ("d/../new", "new")):
            self.zip.unlink(missing_ok=True)
            self.expect(0, "create", "-q", self.zip, argument)
            self.assertEqual(self.names(), [name])
        self.expect(0, "create", "-q", "plain.zip", "new", "d", "--no-permissions", preexec_fn=lambda: os.umask(0o027))
        self.assertEqual(stat.S_IMODE((self.root / "plain.zip").stat().st_mode), 0o640)
        with zipfile.ZipFile(self.root / "plain.zip") as other:
            self.assertEqual([info.external_attr for info in other.infolist()], [0, 0x10])
        self.expect(2, "add", self.zip, "new", "d", "--as", "x", says="--as names one item")
        self.expect(2, "add", self.zip, "new", "--as", "", says="no name for a member")
        self.expect(2, "create", "", "new", says="empty name")

    def test_mac_binary(self):
        for name, fork in (("src/mac", b"resource fork " * 20), ("src/typed", b""), ("real", b"a link's fork")):
            self.write(name, "data fork " * 20)
            self.write(name.replace("/", "/._") if "/" in name else "._" + name, apple_double(fork))
        self.write("src/._alone", "no side file of anything")
        (self.root / "src/folder").mkdir()
        (self.root / "src/link").symlink_to("../real")
        plain = ["._alone", "folder/", "link", "mac", "typed"]
        cases = {"never": [*plain, "._mac", "._typed"], "smart": [*plain, "._typed"], "always": plain}
        for mode, names in cases.items():
            with self.subTest(mode):
                self.zip.unlink(missing_ok=True)
                self.expect(0, "create", "-q", "--follow-links", "--macbinary", mode, self.zip, ".",
                            cwd=self.root / "src")
                self.assertEqual(self.names(), sorted(names))
                self.expect(0, "test", "-q", self.zip)
                self.assertEqual(self.cat("mac"), b"data fork " * 20)
                self.expect(0, "extract", "-q", self.zip, "-d", mode)
                self.assertEqual(self.files_below(self.root / mode),
                                 ["._alone", "._link", "._mac", "._typed", "link", "mac", "typed"])
                self.assertIn(b"resource fork " * 20, (self.root / mode / "._mac").read_bytes())
                if mode == "never":
                    continue
                listed = subprocess.run(["lsar", "-j", self.zip], capture_output=True, check=True).stdout
                self.assertIn(b"XADIsResourceFork", listed)
                self.assertIn(b"XADFileType", listed)
                self.assertIn(b"a link's fork", (self.root / mode / "._link").read_bytes())
        self.root.chmod(0o777)
        (self.root / "src/typed").chmod(0)
        self.expect(3, "create", "-q", "--macbinary", "always", "b.zip", "src",
                    says="cannot be read: Permission denied", preexec_fn=lambda: os.geteuid() or os.setuid(65534))

    def test_memory_stays_flat(self):
        peaks = []
        for size in (1 << 16, 1 << 29):
            os.truncate(self.write("large", ""), size)
            self.zip.unlink(missing_ok=True)
            peaks.append(self.peak("create", "-q", self.zip, "large"))
            self.assertEqual(self.names(), ["large"])
        self.assertLess(peaks[1] - peaks[0], 16, "MiB more for half a gibibyte")

    def test_memory_does_not_grow_with_the_files(self):
        noise = random.Random(2)
        for i in range(24):
            self.write(f"n/{i}", noise.randbytes(8 << 20))
        self.write("n/large", noise.randbytes(1 << 20) * 60)
        one, three = (self.peak("create", jobs, f"{jobs}.zip", "n") for jobs in ("-j1", "-j3"))
        self.assertLess(three - one, 3 * 24 + 8)


if __name__ == "__main__":
    unittest.main()
