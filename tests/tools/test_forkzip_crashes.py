#!/usr/bin/env python3
"""Every verb that makes or changes an archive meets a fault at every single call: killed, out of room, interrupted."""

import itertools
import resource
import signal
import unittest

from faults import FaultTest
from forkzip import apple_double, archive

# Verb, arguments: each is run on the same archive, with a gap and a Mac's data in it.
EDITS = [
    ("add", ["new"]),
    ("add", ["new", "--as", "second"]),
    ("delete", ["first"]),
    ("delete", ["*"]),
    ("duplicate", ["first", "copy"]),
    ("rename", ["first", "other"]),
    ("comment", ["a comment"]),
    ("compact", []),
]
WAYS = ([], ["--in-place"])
# The faults, and the exit codes that they lead to.
ENDS = {"KILL": -signal.SIGKILL, "TERM": -signal.SIGTERM, "FULL": 3, "FAIL": 3, "READ": 3, "CLOSE": 3}


class Crashes(FaultTest):
    def test_an_edit_leaves_the_old_archive_or_the_new_one(self):
        """Code 0 stands for the new one alone. What a failed edit in place has moved by then may lie elsewhere."""
        for way, (verb, arguments) in itertools.product(WAYS, EDITS):
            self.put_back()
            old = self.content()
            self.expect(0, verb, "-q", *way, self.zip, *arguments)
            new, new_bytes = self.content(), self.zip.read_bytes()
            self.assertNotEqual(new_bytes, self.old)
            for kind, code in ENDS.items():
                if way and kind in ("KILL", "FULL"):
                    continue  # which are tested by themselves
                seen = set()
                for fault, result in self.each_fault(kind, verb, arguments, way):
                    with self.subTest(fault):
                        found = self.zip.read_bytes()
                        seen.add(found)
                        if result.returncode == 0 and kind != "KILL":
                            self.assertEqual(found, new_bytes)
                        elif code == 3:
                            self.assert_told(result)
                            self.assertIn(self.content(), (old, new))
                        else:
                            self.assertEqual(result.returncode, code, result.stderr)
                        if not way or kind == "TERM":
                            self.assertIn(found, (self.old, new_bytes), "a third state")
                        if not way and kind in ("KILL", "FAIL"):
                            self.expect(0, "comment", "-q", self.zip, "next run")
                        self.assertEqual(self.strays(), [], "this run or the next one cleans up")
                if kind == "KILL" or kind == "TERM" and verb in ("add", "duplicate", "rename"):
                    self.assertEqual(len(seen), 2, "the faults came too early or too late")

    def test_no_fault_of_the_disk_gets_into_a_new_archive(self):
        """What cannot be read is left out and told, with all that belongs to it; else there is no archive."""
        for name in ("file", "other"):
            self.write(f"t/{name}", name.encode() * 9000)
        self.write("t/mac", "data")
        self.write("t/._mac", apple_double(b"fork " * 9000))
        (self.root / "t/link").symlink_to("file")
        self.old = None
        self.expect(0, "create", "-q", self.zip, "t")
        new, new_bytes = self.content(), self.zip.read_bytes()
        for kind, jobs in (("FAIL", "-j1"), ("READ", "-j1"), ("READ", "-j2"), ("CLOSE", "-j1")):
            for fault, result in self.each_fault(kind, "create", ["t"], [jobs]):
                with self.subTest(fault):
                    if result.returncode == 0:
                        self.assertEqual(self.zip.read_bytes(), new_bytes)
                        continue
                    self.assert_told(result)
                    if self.zip.exists():
                        self.assertLessEqual(self.content().items(), new.items())
                        self.assertIn(b"left out", result.stderr)

    def test_a_created_archive_is_whole_or_not_there(self):
        self.write("t/a", b"a" * 100)
        self.write("t/b", "2")
        result, calls = self.run_counted("create", "-q", self.zip, "t", OLD=1)  # where renaming takes no flags
        self.assertEqual(result.returncode, 0)
        for kind in ("KILL", "LOSE"):
            for n in range(1, calls["KILL"] + 1):
                with self.subTest(kind, n=n):
                    self.zip.unlink(missing_ok=True)
                    self.run_counted("create", "-q", self.zip, "t", **{kind: n})
                    if not self.zip.exists():
                        self.expect(0, "create", "-q", self.zip, "t")
                    self.assertEqual((self.names(), self.strays()), (["t/", "t/a", "t/b"], []))
                    if kind == "KILL":
                        self.expect(0, "test", "-q", self.zip)

    def test_of_two_runs_that_create_one_archive_the_first_makes_it(self):
        for n in (1, 2):
            with self.subTest(n):
                self.zip.unlink(missing_ok=True)
                code = self.run_stopped("create", "-q", self.zip, "new", STOP=n, meanwhile=lambda: self.expect(
                    3, "create", "-q", self.zip, "count", says="is being changed by another run"))
                self.assertEqual((code, self.names()), (0, ["new"]))

    def test_an_edit_sees_what_the_run_before_it_renamed(self):
        self.write("first", "1")
        for way in WAYS:
            with self.subTest(way):
                self.zip.write_bytes(self.old)
                code = self.run_stopped("comment", "-q", *way, self.zip, "hello", LOCK=1,
                                        meanwhile=lambda: self.expect(0, "add", "-q", self.zip, "first"))
                self.assertEqual((code, self.names()), (0, ["second", "third", "first"]))
                self.assertEqual((self.cat("first"), self.expect(0, "comment", self.zip)), (b"1", b"hello\n"))

    def test_what_a_killed_edit_in_place_leaves(self):
        """As docs/forkzip.md says: the old archive up to the first write, the new one after the last, and in between
        mostly a file without a directory."""
        for verb, arguments in EDITS:
            states = []
            for fault, result in self.each_fault("KILL", verb, arguments, ["--in-place"]):
                with self.subTest(fault):
                    whole = self.run_tool("test", "-q", self.zip).returncode == 0
                    states.append("old" if self.zip.read_bytes() == self.old else "whole" if whole else "broken")
            self.assertEqual((states[0], states[-1]), ("old", "whole"), (verb, arguments, states))
            self.assertNotIn("old", states[1:])

    def test_an_edit_in_place_that_finds_no_room_is_taken_back(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (len(self.old), len(self.old)))
        for verb, arguments in EDITS:
            with self.subTest(verb, arguments=arguments):
                self.zip.write_bytes(self.old)
                if verb in ("delete", "compact"):
                    self.expect(0, verb, "-q", "--in-place", self.zip, *arguments, preexec_fn=limit)
                    continue
                self.expect(3, verb, "--in-place", self.zip, *arguments, says="cannot be written", preexec_fn=limit)
                self.assertTrue(self.zip.read_bytes() == self.old)
        # Where the gap is a hole in the file, moving members into it takes room.
        with open(self.zip, "wb") as file:
            file.write(self.old[:45056])
            file.seek(65536)
            file.write(self.old[65536:])
        sparse = self.zip.read_bytes()
        self.assertEqual(self.run_counted("compact", "--in-place", self.zip, FULL=1)[0].returncode, 3)
        self.assertTrue(self.zip.read_bytes() == sparse)


if __name__ == "__main__":
    unittest.main()
