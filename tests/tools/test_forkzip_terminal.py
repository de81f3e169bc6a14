#!/usr/bin/env python3
"""What forkzip shows on a terminal, and where one of its streams is closed."""

import subprocess
import unittest

from forkzip import PROGRAM, ForkzipTest, Member, archive


class Terminal(ForkzipTest):
    def test_colors(self):
        self.zip.write_bytes(archive(Member("d/"), Member("l", b"d", mode=0o120777)))
        xterm, signs = {"TERM": "xterm"}, (b"\x1b[1;34md/\x1b[0m", b"\x1b[1;36ml\x1b[0m", b"\x1b[1;31mforkzip:\x1b[0m")
        for what, environment, colored in (("a terminal", xterm, True), ("NO_COLOR", {**xterm, "NO_COLOR": "1"}, False),
                                           ("NO_COLOR that is empty", {**xterm, "NO_COLOR": ""}, True),
                                           ("a dumb terminal", {"TERM": "dumb"}, False), ("an unknown one", {}, False)):
            with self.subTest(what):
                shown = self.shown(["list", self.zip], ["list", "--tree", self.zip], ["test", self.zip, "x"], env=environment)
                self.assertEqual([shown.count(sign) for sign in (*signs, b"\x1b")], [2, 2, 1, 10] if colored else [0] * 4)

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
        out = self.root / "out"
        self.expect(0, "extract", self.zip, "-d", out, "--progress", says="100%")
        errors = self.run_tool("extract", "--progress", "--overwrite", self.zip, "-d", out).stderr
        self.assertLess(errors.count(b"["), 1000)
        closed = '"$0" extract --progress --overwrite a.zip -d out <&- >&- 2>&-'
        subprocess.run(["sh", "-c", closed, PROGRAM], cwd=self.root, check=False)
        self.assertEqual((out / "f").read_bytes(), b"12345", "no file takes the place of a closed stream")


if __name__ == "__main__":
    unittest.main()
