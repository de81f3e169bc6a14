#!/usr/bin/env python3
"""Every verb meets a fault at every single read or write: killed, out of room, interrupted, refused by the disk."""

import itertools
import os
import resource
import signal
import shutil
import subprocess
import unittest
import zipfile

from forkzip import DEFLATED, PROGRAM, UNIX_TIMES, WRITE_COUNTER, ForkzipTest, Member, apple_double, archive

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

# Verbs that only read, on the same archive.
READERS = [("list", []), ("list", ["--json"]), ("info", []), ("info", ["second"]), ("test", []), ("cat", ["first"]),
           ("extract", ["-d", "out"]), ("extract", ["-d", "out", "--overwrite"]), ("test", ["-j2"]),
           ("extract", ["-j2", "-d", "out"])]


def mac(name, fork):
    """A member with its data as a Mac stores them."""
    folder, _, leaf = name.rstrip("/").rpartition("/")
    companion = f"__MACOSX/{folder}{'/' if folder else ''}._{leaf}"
    return [Member(name, b"" if name[-1] == "/" else b"data", extra=UNIX_TIMES),
            Member(companion, apple_double(fork), extra=UNIX_TIMES)]


class Crashes(ForkzipTest):
    def setUp(self):
        super().setUp()
        self.old = archive(Member("first", b"1" * 40000), Member("hole", b"x" * 30000, hole=True),
                           Member("second", b"2" * 50000), *mac("third", b"fork"),
                           Member("__MACOSX/", extra=UNIX_TIMES))
        self.write("new", os.urandom(70000))
        os.utime(self.root / "new", (1, 1600000000))

    def counted(self, **settings):
        """The environment in which forkzip's writes are counted, with faults."""
        return {**os.environ, "LD_PRELOAD": WRITE_COUNTER, "WRITE_COUNTER_LOG": str(self.root / "count"),
                "ASAN_OPTIONS": "verify_asan_link_order=0",
                **{f"WRITE_COUNTER_{key}": str(value) for key, value in settings.items()}}

    def run_counted(self, *arguments, **settings):
        """Runs forkzip with its calls counted. Gives its result, and how many calls changed, read and closed files."""
        log = self.write("count", "0 0 0")
        result = self.run_tool(*arguments, env=self.counted(**settings))
        return result, dict(zip(("KILL", "READ", "CLOSE"), map(int, log.read_text().split())))

    def run_stopped(self, *arguments, meanwhile, **settings):
        """Runs forkzip, which stops at a fault, calls `meanwhile`, and lets it go on. Gives its exit code."""
        process = subprocess.Popen([PROGRAM, *map(str, arguments)], cwd=self.root, env=self.counted(**settings))
        os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
        try:
            self.assertIsNone(process.poll(), "it did not stop")
            meanwhile()
        finally:
            process.send_signal(signal.SIGCONT)
        return process.wait()

    def each_fault(self, kind, verb, arguments, way):
        """Runs a verb with a fault at each of its calls in turn, from the old archive. Yields what each is and came to."""
        self.put_back(*arguments)
        result, calls = self.run_counted(verb, "-q", *way, self.zip, *arguments)
        self.assertEqual(result.returncode, 0, result.stderr)
        for n in range(1, calls.get(kind, calls["KILL"]) + 1):
            self.put_back(*arguments)
            result, _ = self.run_counted(verb, "-q", *way, self.zip, *arguments, **{kind: n})
            yield f"{verb} {arguments} {way} {kind} {n}", result

    def put_back(self, *arguments):
        shutil.rmtree(self.root / "out", ignore_errors=True)
        if "--overwrite" in arguments:
            shutil.copytree(self.root / "there", self.root / "out")
        if self.old is None:
            self.zip.unlink(missing_ok=True)
        else:
            self.zip.write_bytes(self.old)

    def content(self):
        """The members as another program reads them."""
        with zipfile.ZipFile(self.zip) as other:
            return {info.filename: other.read(info) for info in other.infolist()}

    def strays(self):
        return [name for name in os.listdir(self.root) if "forkzip" in name]

    def test_where_no_mode_is_stored_the_content_arrives(self):
        self.zip.write_bytes(self.old)
        result, _ = self.run_counted("extract", self.zip, "-d", "out", MODES=1)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual((self.root / "out/first").read_bytes(), b"1" * 40000)
        for name in ("first", "third"):
            self.assertIn(f"{name}: its mode or time cannot be stored here: Operation not permitted", str(result.stderr))

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

    def assert_told(self, result):
        self.assertEqual(result.returncode, 3, result.stderr)
        self.assertRegex(result.stderr, b"Input/output error|No space left|something else or cannot be read|process")

    def files_in(self, folder):
        return {name: (self.root / folder / name).read_bytes() for name in self.files_below(self.root / folder)}

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
