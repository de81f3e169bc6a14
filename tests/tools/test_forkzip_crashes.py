#!/usr/bin/env python3
"""Every verb meets a fault at every single call: killed, out of room, interrupted, refused by the disk."""

import itertools
import os
import signal
import unittest

from faults import FaultTest
from forkzip import DEFLATED, UNIX_TIMES, Member, apple_double, archive

# Each of these edits is made on the same archive, with a gap and a Mac's data in it.
EDITS = [["add", "new"], ["add", "new", "--as", "second"], ["delete", "first"], ["delete", "*"],
         ["duplicate", "first", "copy"], ["rename", "first", "other"], ["comment", "a comment"], ["compact"]]
WAYS = ([], ["--in-place"])
# The faults, and the exit codes that they lead to.
ENDS = {"KILL": -signal.SIGKILL, "TERM": -signal.SIGTERM, "FULL": 3, "FAIL": 3, "READ": 3, "CLOSE": 3}
READERS = [["list"], ["list", "--json"], ["info"], ["info", "second"], ["test"], ["cat", "first"], ["test", "-j2"]]
EXTRACT = ["extract", "-d", "out"]
PLAIN = ["first", "second"]


def mac(name, fork):
    """A member with its data as a Mac stores them."""
    folder, _, leaf = name.rstrip("/").rpartition("/")
    companion = f"__MACOSX/{folder}{'/' if folder else ''}._{leaf}"
    return [Member(name, b"" if name[-1] == "/" else b"data", extra=UNIX_TIMES),
            Member(companion, apple_double(fork), extra=UNIX_TIMES)]


class Writing(FaultTest):
    def setUp(self):
        super().setUp()
        self.old = archive(Member("first", b"1" * 40000), Member("hole", b"x" * 30000, hole=True),
                           Member("second", b"2" * 50000), *mac("third", b"fork"),
                           Member("__MACOSX/", extra=UNIX_TIMES))
        self.write("new", os.urandom(70000))
        os.utime(self.root / "new", (1, 1600000000))

    def test_an_edit_leaves_the_old_archive_or_the_new_one(self):
        """Code 0 stands for the new one alone. What a failed edit in place has moved by then may lie elsewhere, and
        what a killed one leaves is no archive, from its first write to its last."""
        for way, (verb, *arguments) in itertools.product(WAYS, EDITS):
            command = [verb, "-q", *way, self.zip, *arguments]
            self.put_back()
            old = self.content()
            self.expect(0, *command)
            new, new_bytes = self.content(), self.zip.read_bytes()
            self.assertNotEqual(new_bytes, self.old)
            for kind, code in ENDS.items():
                states = []
                for fault, result in self.each_fault(kind, *command):
                    with self.subTest(fault):
                        found = self.zip.read_bytes()
                        states.append(found)
                        if result.returncode == 0 and kind != "KILL":
                            self.assertEqual(found, new_bytes)
                        elif code == 3:
                            self.assert_told(result)
                            self.assertIn(self.content(), (old, new))
                        else:
                            self.assertEqual(result.returncode, code, result.stderr)
                        if kind == "TERM" or not way:
                            self.assertIn(found, (self.old, new_bytes), "a third state")
                        if kind in ("KILL", "FAIL") and not way:
                            self.expect(0, "comment", "-q", self.zip, "next run")
                        self.assertEqual(self.strays(), [], "this run or the next one cleans up")
                if kind == "KILL":
                    self.assertEqual((states[0], states[-1]), (self.old, new_bytes), (command, "too early or too late"))
                    self.assertTrue(not way or self.old not in states[1:], command)
                elif kind == "FULL" and verb not in ("delete", "compact"):
                    self.assertEqual(states[0], self.old, command)
                elif kind == "TERM" and verb in ("add", "duplicate", "rename"):
                    self.assertEqual(len({*states}), 2, command)

    def test_moving_members_into_a_hole_in_the_file_takes_room(self):
        with open(self.zip, "wb") as file:
            file.write(self.old[:45056])
            file.seek(65536)
            file.write(self.old[65536:])
        sparse = self.zip.read_bytes()
        self.assertEqual(self.run_counted("compact", "--in-place", self.zip, FULL=1)[0].returncode, 3)
        self.assertTrue(self.zip.read_bytes() == sparse)

    def test_a_created_archive_is_whole_or_not_there(self):
        """What cannot be read is left out and told, with all that belongs to it."""
        for name in ("file", "other"):
            self.write(f"t/{name}", name.encode() * 9000)
        self.write("t/mac", "data")
        self.write("t/._mac", apple_double(b"fork " * 9000))
        (self.root / "t/link").symlink_to("file")
        self.old = None
        self.expect(0, "create", "-q", self.zip, "t")
        new, new_bytes = self.content(), self.zip.read_bytes()
        for kind, jobs in (("KILL", 1), ("TERM", 3), ("FULL", 3), ("FAIL", 1), ("READ", 1), ("READ", 2), ("CLOSE", 1),
                           ("LOSE", 1)):
            for fault, result in self.each_fault(kind, "create", "-q", f"-j{jobs}", self.zip, "t"):
                with self.subTest(fault):
                    if self.zip.exists() and b"left out" in result.stderr:
                        self.assertLessEqual(self.content().items(), new.items())
                    elif self.zip.exists() and kind != "LOSE":
                        self.assertEqual(self.zip.read_bytes(), new_bytes)
                    elif self.zip.exists():
                        self.assertEqual(self.names(), [*new])
                    if ENDS.get(kind, 3) == 3 and result.returncode != 0:
                        self.assert_told(result)
                    if not self.zip.exists():
                        self.assertEqual(self.strays() if kind != "KILL" else [], [])
                        self.expect(0, "create", "-q", self.zip, "t")
                    self.assertEqual(self.strays(), [])
        self.zip.unlink()
        result, _ = self.run_counted("create", "-q", self.zip, "t", OLD=1)
        self.assertEqual(result.returncode, 0, "where renaming takes no flags")

    def test_runs_that_meet(self):
        """One that changes an archive keeps others out; one that waited for it sees what it renamed."""
        def others(*changes):
            for change in changes:
                self.expect(3, *change, says="is being changed by another run")
        create = ["create", "-q", self.zip, "new"]
        for n in (1, 2):
            self.zip.unlink(missing_ok=True)
            code, _ = self.run_stopped(*create, STOP=n, meanwhile=lambda: others(create))
            self.assertEqual((code, self.names()), (0, ["new"]))
        self.write("first", "1")
        edits = [["comment", *way, self.zip, "hello"] for way in WAYS]
        for edit in edits:
            self.put_back()
            code, _ = self.run_stopped(*edit, LOCK=1, meanwhile=lambda: self.expect(0, "add", "-q", self.zip, "first"))
            self.assertEqual((code, self.names()), (0, ["second", "third", "first"]))
            self.assertEqual((self.cat("first"), self.expect(0, "comment", self.zip)), (b"1", b"hello\n"))
            code, _ = self.run_stopped(*edit, STOP=1, meanwhile=lambda: others(*edits))
            self.assertEqual((code, self.names()), (0, ["second", "third", "first"]))


class Reading(FaultTest):
    def setUp(self):
        """Has the content of one archive on disk, and another as the one to extract."""
        super().setUp()

        def members(data):
            fork = data * 300
            return archive(Member("first", data * 40000, DEFLATED), Member("second", data * 50000, mode=0, host=0),
                           *mac("d/", fork), *mac("d/f", fork), *mac("e/", b""), *mac("e/f", b""))
        self.zip.write_bytes(members(b"1"))
        self.expect(0, *EXTRACT, "-q", self.zip)
        self.extracted = self.found()
        self.old = members(b"2")

    def test_no_fault_of_the_disk_passes_for_what_an_archive_holds(self):
        """Nor does it, or the end of a run, leave anything but old and new on disk under a name of the archive's. What
        a run leaves that was killed outright, in files of mode 1000, the next one replaces."""
        for verb, *arguments in [*READERS, EXTRACT, [*EXTRACT, "-j2"], [*EXTRACT, "--overwrite"]]:
            self.before = self.extracted if "--overwrite" in arguments else {}
            self.put_back()
            command = [verb, "-q", self.zip, *arguments]
            shown = self.expect(0, *command)
            right = self.found()
            kinds = ["READ"] if verb != "extract" else ["READ", "FAIL", "CLOSE"] if "-j2" in arguments else ENDS
            for fault, result in (each for kind in kinds for each in self.each_fault(kind, *command)):
                with self.subTest(fault):
                    if result.returncode == 0:
                        self.assertEqual((result.stdout, self.found()), (shown, right))
                        continue
                    killed = result.returncode == -signal.SIGKILL
                    unfinished = {str(path.relative_to(self.root / "out")) for path in self.strays()}
                    self.assertTrue(killed or not unfinished, unfinished)
                    for name, data in self.found().items():
                        if name not in unfinished and ".forkzip-" not in name:
                            self.assertIn(data, (self.before.get(name), right[name]), name)
                    if result.returncode > 0:
                        self.assert_told(result)
                        continue
                    if killed and not self.before:
                        self.assertIn(self.run_tool(*EXTRACT, self.zip, *PLAIN).returncode, (0, 3))
                        for name in PLAIN:
                            mode = (self.root / "out" / name).stat().st_mode
                            self.assertEqual((mode, self.found()[name]), (0o100644, right[name]))
                    self.expect(0, *EXTRACT, "-q", "--overwrite", self.zip)
                    self.assertEqual(self.found(), right)

    def test_where_no_mode_is_stored_the_content_arrives(self):
        self.put_back()
        result, _ = self.run_counted(*EXTRACT, self.zip, MODES=1)
        (self.root / "out/first").chmod(0o600)
        self.assertEqual((result.returncode, self.found()["first"]), (0, b"2" * 40000), result.stderr)
        for name in ("first", "d/f"):
            self.assertIn(f"{name}: its mode or time cannot be stored here: Operation not", str(result.stderr))

    def test_no_run_clears_away_what_another_is_making(self):
        self.old = archive(*(Member(name, b"1" * 70000) for name in ("a", "d/a", "b", "d/b")))
        command = [*EXTRACT, "-qj1", self.zip, "a", "d/a"]
        self.put_back()
        for n in range(1, self.run_counted(*command)[1]["KILL"] + 1):
            self.put_back()
            code, _ = self.run_stopped(*command, STOP=n, meanwhile=lambda: self.expect(
                0, *EXTRACT, "-qj1", self.zip, "b", "d/b", "--overwrite"))
            self.assertEqual((code, len(self.found())), (0, 4), n)


if __name__ == "__main__":
    unittest.main()
