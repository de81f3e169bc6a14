#!/usr/bin/env python3
"""Every verb that reads, and extract, meet a fault at every single call: killed, out of room, refused by the disk."""

import unittest

from faults import FaultTest, mac
from forkzip import DEFLATED, Member, archive

# Verbs that only read, on the same archive.
READERS = [("list", []), ("list", ["--json"]), ("info", []), ("info", ["second"]), ("test", []), ("cat", ["first"]),
           ("extract", ["-d", "out"]), ("extract", ["-d", "out", "--overwrite"]), ("test", ["-j2"]),
           ("extract", ["-j2", "-d", "out"])]


class ReadingCrashes(FaultTest):
    def test_where_no_mode_is_stored_the_content_arrives(self):
        self.zip.write_bytes(self.old)
        result, _ = self.run_counted("extract", self.zip, "-d", "out", MODES=1)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual((self.root / "out/first").read_bytes(), b"1" * 40000)
        for name in ("first", "third"):
            self.assertIn(f"{name}: its mode or time cannot be stored here: Operation not permitted", str(result.stderr))

    def test_no_fault_of_the_disk_passes_for_what_an_archive_holds(self):
        """Nor is what it cut short on disk under a name of the archive's."""
        before = self.extracted_before().items()
        for verb, arguments in READERS:
            self.put_back(*arguments)
            right = self.run_tool(verb, "-q", self.zip, *arguments).stdout, self.files_in("out")
            for kind in ("READ", *(("FAIL", "CLOSE") if verb == "extract" else ())):
                for fault, result in self.each_fault(kind, verb, arguments, []):
                    with self.subTest(fault):
                        if result.returncode == 0:
                            self.assertEqual((result.stdout, self.files_in("out")), right)
                        else:
                            self.assert_told(result)
                            self.assertLessEqual(self.files_in("out").items(), before | right[1].items())

    def extracted_before(self):
        """Puts one archive to disk in `there`, and makes another the one to extract. Gives what is on disk."""
        def members(data):
            fork = data * 300
            return archive(Member("first", data * 40000, DEFLATED), Member("second", data * 50000), *mac("d/", fork),
                           *mac("d/f", fork), *mac("e/", b""), *mac("e/f", b""))
        self.zip.write_bytes(members(b"1"))
        self.expect(0, "extract", "-q", self.zip, "-d", "there")
        self.old = members(b"2")
        return self.files_in("there")

    def test_an_extraction_that_is_ended_leaves_old_or_new(self):
        """Or, if it was killed outright, in a file of mode 1000, what the next run replaces."""
        before = self.extracted_before()
        for arguments in (["-d", "out"], ["-d", "out", "--overwrite"]):
            self.put_back(*arguments)
            self.expect(0, "extract", "-q", self.zip, *arguments)
            right = self.files_in("out")
            for kind in ("KILL", "TERM"):
                for fault, _ in self.each_fault(kind, "extract", arguments, []):
                    with self.subTest(fault):
                        for name, data in self.files_in("out").items():
                            mode = (self.root / "out" / name).stat().st_mode & 0o7777
                            unfinished = kind == "KILL" and (".forkzip-" in name or mode == 0o1000)
                            self.assertTrue(unfinished or data in (before.get(name), right[name]), name)
                        self.expect(0, "extract", "-q", self.zip, "-d", "out", "--overwrite")
                        self.assertEqual(self.files_in("out"), right)

    def test_no_run_clears_away_what_another_is_making(self):
        self.old = archive(*(Member(name, b"1" * 70000) for name in ("a", "d/a", "b", "d/b")))
        self.put_back()
        _, calls = self.run_counted("extract", "-q", "-j1", self.zip, "a", "d/a", "-d", "out")
        for n in range(1, calls["KILL"] + 1):
            self.put_back()
            code = self.run_stopped("extract", "-q", "-j1", self.zip, "a", "d/a", "-d", "out", STOP=n,
                                    meanwhile=lambda: self.expect(0, "extract", "-q", "-j1", self.zip, "b", "d/b",
                                                                  "-d", "out", "--overwrite"))
            self.assertEqual((code, len(self.files_in("out"))), (0, 4), n)

    def test_the_run_after_a_killed_extraction_completes_it(self):
        for what, fields in (("a Unix mode", {}), ("none, as from other systems", {"mode": 0, "host": 0})):
            self.old = archive(Member("small", b"1" * 60000, **fields))
            for fault, _ in self.each_fault("KILL", "extract", ["-d", "out"], []):
                with self.subTest(fault, what=what):
                    again = self.run_tool("extract", self.zip, "-d", "out")
                    self.assertIn(again.returncode, (0, 3))
                    self.assertEqual(self.files_in("out"), {"small": b"1" * 60000})
                    self.assertEqual((self.root / "out/small").stat().st_mode & 0o7777, 0o644)


if __name__ == "__main__":
    unittest.main()
