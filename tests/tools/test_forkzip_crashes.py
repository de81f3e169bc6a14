#!/usr/bin/env python3
"""Edits that are killed at every single write, or meet a full disk there."""

import os
import resource
import signal
import unittest

from forkzip import WRITE_COUNTER, ForkzipTest, Member, archive

# Verb, arguments: each is run on the same archive, a gap in it.
EDITS = [
    ("add", ["new"]),
    ("add", ["new", "--as", "second"]),
    ("delete", ["first"]),
    ("delete", ["*"]),
    ("duplicate", ["first", "copy"]),
    ("comment", ["a comment"]),
    ("compact", []),
]


class Crashes(ForkzipTest):
    def setUp(self):
        super().setUp()
        self.old = archive(Member("first", b"1" * 40000), Member("hole", b"x" * 30000, hole=True),
                           Member("second", b"2" * 50000), Member("third", b"3" * 20))
        self.write("new", os.urandom(70000))
        os.utime(self.root / "new", (1, 1600000000))

    def run_counted(self, *arguments, **settings):
        """Runs forkzip with the counter of writes; gives its result and the number of writes."""
        log = self.root / "count"
        environment = {**os.environ, "LD_PRELOAD": WRITE_COUNTER, "WRITE_COUNTER_LOG": str(log),
                       "ASAN_OPTIONS": "verify_asan_link_order=0",
                       **{f"WRITE_COUNTER_{key}": str(value) for key, value in settings.items()}}
        log.write_text("0")
        result = self.run_tool(*arguments, env=environment)
        return result, int(log.read_text())

    def each_fault(self, kind, verb, arguments, way):
        """Runs an edit with a fault at each of its writes in turn, from the old archive. Yields the results."""
        self.zip.write_bytes(self.old)
        result, writes = self.run_counted(verb, "-q", *way, self.zip, *arguments)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertGreater(writes, 1)
        for n in range(1, writes + 1):
            self.zip.write_bytes(self.old)
            with self.subTest(f"{verb} {arguments} {way} {kind} {n}"):
                result, _ = self.run_counted(verb, "-q", *way, self.zip, *arguments, **{kind: n})
                if kind == "KILL":
                    self.assertEqual(result.returncode, -signal.SIGKILL)
                yield result

    def strays(self):
        return [name for name in os.listdir(self.root) if "forkzip" in name]

    def test_a_copying_edit_leaves_the_old_archive_or_the_new_one(self):
        for verb, arguments in EDITS:
            self.zip.write_bytes(self.old)
            self.expect(0, verb, "-q", self.zip, *arguments)
            new = self.zip.read_bytes()
            self.assertNotEqual(new, self.old)
            seen = set()
            for _ in self.each_fault("KILL", verb, arguments, []):
                content = self.zip.read_bytes()
                self.assertIn(content, (self.old, new), "a third state")
                seen.add(content)
                self.expect(0, "comment", "-q", self.zip, "next run")
                self.assertEqual(self.strays(), [], "the next run cleans up")
            self.assertEqual(seen, {self.old, new}, "the faults came too early or too late")

    def test_a_created_archive_is_whole_or_not_there(self):
        self.write("t/a", os.urandom(100000))
        self.write("t/b", "2")
        _, writes = self.run_counted("create", "-q", "new.zip", "t")
        new = self.root / "new.zip"
        for n in range(1, writes + 1):
            with self.subTest(n):
                new.unlink(missing_ok=True)
                self.run_counted("create", "-q", "new.zip", "t", KILL=n)
                if not new.exists():
                    self.expect(0, "create", "-q", "new.zip", "t")
                self.expect(0, "test", "-q", "new.zip")
                self.assertEqual(self.strays(), [])

    def test_a_full_disk_leaves_the_old_archive(self):
        for verb, arguments in EDITS:
            for result in self.each_fault("FULL", verb, arguments, []):
                if result.returncode == 0:  # only a truncation or the like was left to do
                    continue
                self.assertEqual((result.returncode, self.zip.read_bytes()), (3, self.old), result.stderr)
                self.assertEqual(self.strays(), [])

    def test_what_a_killed_edit_in_place_leaves(self):
        """As docs/forkzip.md says: the old archive up to the first write, the new one after the last, and in between
        mostly a file without a directory."""
        for verb, arguments in EDITS:
            states = []
            for _ in self.each_fault("KILL", verb, arguments, ["--in-place"]):
                whole = self.run_tool("test", "-q", self.zip).returncode == 0
                states.append("old" if self.zip.read_bytes() == self.old else "whole" if whole else "broken")
            self.assertEqual((states[0], states[-1]), ("old", "whole"), (verb, arguments, states))
            self.assertNotIn("old", states[1:])

    def test_an_addition_in_place_that_finds_no_room_is_taken_back(self):
        self.zip.write_bytes(self.old)
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (len(self.old) + 1000, len(self.old) + 1000))
        self.expect(3, "add", "--in-place", self.zip, "new", says="cannot be written", preexec_fn=limit)
        self.assertEqual(self.zip.read_bytes(), self.old)


if __name__ == "__main__":
    unittest.main()
