#!/usr/bin/env python3
"""forkzip --jobs: the same outcome for any number of them, whatever happens to them; and --level."""

import contextlib
import os
import pathlib
import random
import resource
import select
import signal
import subprocess
import time
import unittest

from forkzip import DEFLATED, PROGRAM, STORED, ForkzipTest, Member, apple_double, archive, mac_binary

JOBS = ("-j1", "-j2", "-j7")
SHARED = 120


def many(name, **fields):
    """Members that keep all processes busy, and get bad ones in between."""
    return [Member(f"{name}/{i}", b"%d" % i * 50, DEFLATED, **({k: v for k, v in fields.items() if i % 89 == 0}))
            for i in range(SHARED)]


class Jobs(ForkzipTest):
    def tree(self, folder):
        """All there is in a folder, with what an archive says of it."""
        found = {}
        for path in sorted(folder.rglob("*")):
            status = path.lstat()
            content = os.readlink(path) if path.is_symlink() else path.read_bytes() if path.is_file() else None
            old = status.st_mtime if status.st_mtime < 1.71e9 else None  # or as late as this run
            found[str(path.relative_to(folder))] = (status.st_mode, content, old)
        return found

    def assert_same(self, outcome):
        """`outcome(jobs)` is the same for any number of jobs. Returns it."""
        first = outcome(JOBS[0])
        for jobs in JOBS[1:]:
            for one, other in zip(first, outcome(jobs), strict=True):
                self.assertTrue(one == other, (jobs, one, other))
        return first

    def source_tree(self):
        noise = random.Random(1)
        self.write("t/large", b"".join(b"%d lines of text\n" % i for i in range(1 << 19)))
        self.write("t/noise", noise.randbytes(1 << 20))
        self.write("t/photo", b"\xff\xd8\xff\xe0" + b"words " * 1000)
        self.write("t/film", b"\0\0\0\x18ftypmp42" + b"words " * 1000)
        for mark in ("ID3 ", "BZh ", "GIF8 ", "OggS ", "fLaC ", "the ftyp", "the very WEBP"):
            self.write(f"t/text {mark}", mark + "words " * 1000)
        for i in range(300):
            self.write(f"t/d{i % 7}/{i}", bytes(noise.choices(b"abc\n", k=noise.randint(0, 9000))))
        self.write("t/wrapped", b"data")
        self.write("t/._wrapped", apple_double(b"fork" * 1000))
        self.write("t/last", b"data")
        os.symlink("noise", self.root / "t/link")
        os.mkfifo(self.root / "t/d3/fifo")

    def test_archives_are_the_same(self):
        self.source_tree()
        old = archive(Member("old", b"old"), Member("t/last", b"old"))
        for verb in ("create", "add"):
            for level in ([], ["--level", "0"], ["--level", "1"], ["--level", "9"]):
                def made(jobs, verb=verb, level=level):
                    self.zip.unlink(missing_ok=True)
                    if verb == "add":
                        self.zip.write_bytes(old)
                    result = self.run_tool(verb, jobs, *level, self.zip, "t", "gone")
                    return result.returncode, result.stdout, result.stderr, self.zip.read_bytes()
                with self.subTest(verb, level=level):
                    code, _, errors, _ = self.assert_same(made)
                    self.assertEqual((code, errors.count(b"\n")), (3, 2), errors)
                    self.assertEqual(subprocess.run(["unzip", "-tqq", self.zip], check=False).returncode, 0)
                    methods = {m["name"]: m["method"] for m in self.members() if m["size"]}
                    stored = {name for name, method in methods.items() if method == STORED} - {"old", "t/last"}
                    few = {"t/noise", "t/photo", "t/film"}
                    self.assertEqual(stored & few, few if level else set())
                    self.assertEqual(any("text" in name for name in stored), level == ["--level", "0"])
                    self.assertEqual(len(stored) > 200, level == ["--level", "0"])

    def wait_until_read(self, process, path):
        """Until the process has read a part of a file."""
        while True:
            for file in pathlib.Path(f"/proc/{process.pid}/fd").iterdir():
                with contextlib.suppress(FileNotFoundError):
                    position = (file.parent.parent / "fdinfo" / file.name).read_text().split()[1]
                    if os.readlink(file) == str(path) and position != "0":
                        return
            self.assertIsNone(process.poll())
            time.sleep(0.001)

    def test_a_file_that_changes_while_it_is_read(self):
        """It is left out if it shrinks; of what grows the size counts that it had when it was opened."""
        self.source_tree()
        shrank, more = "left out, it shrank while it was read", f"it holds more than the {1 << 28} bytes that were its"
        for jobs, size, says in (("-j3", 1 << 20, shrank), ("-j1", 1 << 30, more), ("-j3", 1 << 30, more)):
            with self.subTest(jobs, size=size):
                self.zip.unlink(missing_ok=True)
                self.write("t/last", "data")
                os.truncate(self.root / "t/large", 1 << 28)
                process = subprocess.Popen([PROGRAM, "create", "-q", jobs, self.zip, "t"], cwd=self.root, stderr=subprocess.PIPE)
                self.wait_until_read(process, self.root / "t/large")
                os.truncate(self.root / "t/large", size)
                self.write("t/last", "data that came before it was opened")
                self.assertIn(f"t/large: {says}", process.communicate()[1].decode())
                self.assertEqual(process.returncode, 3)
                self.assertEqual([m["size"] for m in self.members() if m["name"] == "t/large"], [1 << 28] * (says == more))
                self.assertIn(self.cat("t/last"), [b"data"] * (jobs == "-j3") + [b"data that came before it was opened"])
                self.expect(0, "test", "-q", self.zip)
        for jobs in JOBS:
            self.expect(3, "create", jobs, f"proc{jobs}.zip", "/proc/meminfo", "t/last", says="more than the 0 bytes that were")

    def test_reading_comes_to_the_same(self):
        bad, mac = many("bad", crc=1), mac_binary(b"data", b"fork", name=b"A\\b")
        fork = apple_double(b"fork")
        link = {"mode": 0o120777}
        cases = [
            ("bad members", bad),
            ("members of one name", [Member(f"f{i % 7}", b"%d" % i) for i in range(SHARED)]),
            ("names that differ in case", [Member(n, n.encode()) for n in "aAbB"] + many("a")),
            ("a file before the folder of its name", [Member("d", b"1"), *many("d")]),
            ("a file behind the folder of its name", [*many("d"), Member("d", b"1")]),
            ("a folder's side file", [Member("._bad", fork), Member("bad/", fork, mode=0o040700), *bad]),
            ("side files before and behind", [Member("m/._x", fork), *bad, Member("m/x", mac), Member("m/._x", b"")]),
            ("a file that gets its Mac name", [Member("m/a-b", mac), *bad, Member("m/A\\b", b"other")]),
            ("the same, the other first", [Member("m/A\\b", b"other"), *bad, Member("m/a-b", mac)]),
            ("links and what they meet", [Member("l", b"bad", **link), Member("l", b"1"), Member("k", b"bad", **link),
                                         Member("k/x", b"2"), *bad, Member("up", b"../..", **link)]),
            ("closed folders", [Member("bad/", mode=0o040500), Member("e/", mode=0o040000), *bad]),
            ("names that are refused", [Member("../x", b"1"), Member("/y", b"2"), *bad, Member("", b"3")]),
            ("names that meet when stripped", [Member("0/f", bytes(1 << 25), DEFLATED), *many("x"), Member("1/f", b"1")],
             ["--strip-components", "1"]),
            ("companions", [Member("m/x", b"1"), *bad, Member("__MACOSX/m/._x", fork), Member("__MACOSX/m/._x", fork)],
             ["--raw"]),
        ]
        for what, members, *more in cases:
            self.zip.write_bytes(archive(*members))

            def tested(jobs):
                result = self.run_tool("test", "--json", jobs, self.zip)
                return result.returncode, result.stdout, result.stderr

            def extracted(jobs, *arguments):
                out = self.root / "out"
                subprocess.run(["rm", "-rf", out], check=True)
                (out / "bad").mkdir(parents=True)
                (out / "bad/7").write_text("a user's")
                result = self.run_tool("extract", jobs, *arguments, self.zip, "-d", out)
                return result.returncode, result.stdout, result.stderr, self.tree(out)

            with self.subTest(what):
                self.assert_same(tested)
            for arguments in ([], ["--overwrite"], *more):
                with self.subTest(what, arguments=arguments):
                    self.assert_same(lambda jobs, given=arguments: extracted(jobs, *given))

    def start(self, *arguments):
        """A run, and the processes that it has at work."""
        process = subprocess.Popen([PROGRAM, *map(str, arguments)], cwd=self.root, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE)
        children = []
        while len(children) < 2:
            self.assertIsNone(process.poll())
            time.sleep(0.001)
            children = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()
        return process, {int(child): os.pidfd_open(int(child)) for child in children}

    def strays(self):
        return [path for path in self.root.rglob("*") if "forkzip" in path.name or path.lstat().st_mode & 0o7777 == 0o1000]

    def assert_ended(self, children):
        for child, handle in children.items():
            self.assertEqual(select.select([handle], [], [], 60)[0], [handle], f"{child} goes on")
            os.close(handle)

    def test_whatever_ends_leaves_no_process_and_nothing_half_written(self):
        large = bytes(1 << 27)
        member = Member("large0", large, DEFLATED)
        others = [Member(f"large{i}", b"", DEFLATED, packed=member.packed, crc=member.crc, size=member.size)
                  for i in range(1, 6)]
        self.zip.write_bytes(archive(member, *others, *many("d")))
        for verb in (["test", self.zip], ["extract", "--overwrite", self.zip, "-d", "out"]):
            for what, number in (("child", signal.SIGKILL), ("child", signal.SIGTERM), ("parent", signal.SIGINT),
                                 ("parent", signal.SIGTERM), ("parent", signal.SIGKILL)):
                with self.subTest(verb[0], what=what, number=number):
                    process, children = self.start(verb[0], "-j2", *verb[1:])
                    os.kill(min(children) if what == "child" else process.pid, number)
                    errors = process.communicate()[1].decode()
                    self.assertEqual(process.returncode, 3 if what == "child" else -number)
                    self.assertEqual("one of its processes was ended" in errors, what == "child", errors)
                    self.assert_ended(children)
                    if (what, number) != ("parent", signal.SIGKILL):
                        self.assertEqual(self.strays(), [])

    def test_processes_that_wait_to_be_heard_end_too(self):
        self.zip.write_bytes(archive(*(Member(f"{'n' * 250}/{i}", b"1", crc=1) for i in range(10000))))
        process, children = self.start("test", "-j3", self.zip)
        while any(" S " not in pathlib.Path(f"/proc/{number}/stat").read_text() for number in children):
            time.sleep(0.01)
        os.kill(min(children), signal.SIGKILL)
        self.assertIn(b"was ended by signal 9", process.communicate(timeout=120)[1])
        self.assert_ended(children)

    def test_a_closed_pipe_ends_it(self):
        self.zip.write_bytes(archive(*many("bad", crc=1)))
        for jobs in JOBS:
            read, write = os.pipe()
            os.close(read)
            result = subprocess.run([PROGRAM, "test", jobs, self.zip], stderr=write, check=False)
            os.close(write)
            self.assertEqual(result.returncode, -signal.SIGPIPE)

    def test_a_full_disk_and_a_signal_leave_no_archive(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, 1 << 20))
        self.source_tree()
        for jobs in JOBS:
            self.expect(3, "create", jobs, self.zip, "t/large", "t/noise", says="cannot be written", preexec_fn=limit)
            process = subprocess.Popen([PROGRAM, "create", jobs, "--level", "9", self.zip, "t"], cwd=self.root,
                                       stderr=subprocess.DEVNULL)
            while not self.strays() and process.poll() is None:
                time.sleep(0.001)
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(), -signal.SIGINT)
            self.assertEqual((self.strays(), self.zip.exists()), ([], False))

    def test_where_memory_or_open_files_run_short_there_are_fewer_threads(self):
        noise = random.Random(1)
        for i in range(80):
            self.write(f"t/{i}", noise.randbytes(200000))
        for what, limits in ((resource.RLIMIT_AS, range(68 << 20, 400 << 20, 64 << 20)), (resource.RLIMIT_NOFILE, (12, 40))):
            for limit in limits:
                limited = {"preexec_fn": lambda what=what, limit=limit: resource.setrlimit(what, (limit, limit))}
                if self.run_tool("--version", **limited).returncode != 0:
                    continue  # a build with checks, which takes address space for itself
                with self.subTest((what, limit)):
                    self.zip.unlink(missing_ok=True)
                    self.expect(0, "create", "-qj64", self.zip, "t", **limited)


if __name__ == "__main__":
    unittest.main()
