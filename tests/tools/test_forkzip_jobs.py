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

from faults import FaultTest
from forkzip import DEFLATED, PROGRAM, STORED, UNIX_TIMES, Member, apple_double, archive, mac_binary

JOBS = ("-j1", "-j2", "-j7")


def many(name, **fields):
    """Members that keep all processes busy, and get bad ones in between."""
    return [Member(f"{name}/{i}", b"%d" % i * 50, DEFLATED, **({k: v for k, v in fields.items() if i % 89 == 0}))
            for i in range(120)]


class Jobs(FaultTest):
    def assert_same(self, outcome):
        """`outcome(jobs)` is the same for any number of jobs. Returns it."""
        first = outcome(JOBS[0])
        for jobs in JOBS[1:]:
            for one, other in zip(first, outcome(jobs), strict=True):
                self.assertTrue(one == other, (jobs, one, other))
        return first

    def test_archives_are_the_same(self):
        noise = random.Random(1)
        few = {"t/noise": noise.randbytes(1 << 20), "t/photo": b"\xff\xd8\xff\xe0" + b"words " * 1000,
               "t/film": b"\0\0\0\x18ftypmp42" + b"words " * 1000}
        texts = {f"t/text {mark}": mark + "words " * 1000
                 for mark in ("ID3 ", "BZh ", "GIF8 ", "OggS ", "fLaC ", "the ftyp", "the very WEBP")}
        large = {"t/large": b"".join(b"%d lines of text\n" % i for i in range(1 << 19))}
        small = {f"t/d{i % 7}/{i}": bytes(noise.choices(b"abc\n", k=noise.randint(0, 9000))) for i in range(300)}
        wrapped = {"t/wrapped": "data", "t/._wrapped": apple_double(b"fork" * 1000)}
        for name, content in {**few, **texts, **large, **small, **wrapped, "t/last": "data"}.items():
            self.write(name, content)
        os.symlink("noise", self.root / "t/link")
        os.mkfifo(self.root / "t/d3/fifo")
        old = archive(Member("old", b"old"), Member("t/last", b"old"))
        for verb, *level in (["create"], ["add"], ["add", "--level", "0"], ["create", "--level", "9"]):
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
                stored = {m["name"] for m in self.members() if m["size"] and m["method"] == STORED} - {"old", "t/last"}
                self.assertEqual(stored & {*few}, {*few} if level else set())
                self.assertEqual(len(stored & {*texts}), len(texts) if "0" in level else 0)
                self.assertEqual(len(stored) > 200, "0" in level)

    def test_a_file_that_changes_while_it_is_read(self):
        """It is left out if it shrinks; of what grows the size counts that it had when it was opened."""
        size = 48 << 20
        self.write("last", "data")
        for jobs in ("-j1", "-j3"):
            for change, says, sizes in ((-size // 2, "left out, it shrank while it was read", [4]),
                                        (size, f"it holds more than the {size} bytes that were its", [size, 4])):
                with self.subTest(jobs, change=change):
                    self.zip.unlink(missing_ok=True)
                    large = self.write("large", random.Random(1).randbytes(size))
                    code, errors = self.run_stopped("create", "-q", jobs, self.zip, large.name, "last", STOP=1,
                                                    meanwhile=lambda: os.truncate(large, size + change))
                    self.assertEqual((code, [member["size"] for member in self.members()]), (3, sizes))
                    self.assertIn(f"large: {says}", errors)
                    self.expect(0, "test", "-q", self.zip)
            self.expect(3, "create", jobs, f"proc{jobs}.zip", "/proc/meminfo", "last", says="more than the 0 bytes")

    def test_reading_comes_to_the_same(self):
        """Also where a member in front is done later than one behind it that meets it."""
        bad, fork, link, text = many("bad", crc=1), apple_double(b"fork"), {"mode": 0o120777}, bytes(1 << 24)
        mac = Member("m/a-b", mac_binary(text, b"fork", name=b"A\\b"), DEFLATED)
        wrapped = Member("m/x", mac_binary(text, b"fork"), DEFLATED)
        cases = [
            ("bad members", bad),
            ("members of one name", [Member(f"f{i % 7}", b"%d" % i) for i in range(120)]),
            ("a file before the folder of its name", [Member("d", text, DEFLATED), *many("d")]),
            ("a file behind the folder of its name", [*many("d"), Member("d", b"1")]),
            ("a folder's side file", [Member("._bad", fork), Member("bad/", mac_binary(b"", b"")), *bad]),
            ("side files before and behind", [Member("m/._x", fork), *bad, wrapped, Member("m/._x", b"")]),
            ("a file that gets its Mac name", [mac, *bad, Member("m/A\\b", b"other")]),
            ("the same, the other first", [Member("m/A\\b", text, DEFLATED), *bad, mac]),
            ("links", [Member("l", b"bad", **link), Member("up", b"../..", **link), *bad]),
            ("links and what they meet", [Member("l", b"bad", **link), Member("l", b"1"), Member("k", b"bad", **link),
                                         Member("k/x", b"2"), *bad]),
            ("closed folders", [Member("bad/", mode=0o040500), Member("e/", mode=0o040300), *bad]),
            ("names that are refused", [Member("../x", b"1"), Member("/y", b"2"), *bad, Member("", b"3")]),
            ("names that meet when stripped", [Member("0/f", text, DEFLATED), *many("x"), Member("1/f", b"1")],
             "--strip-components", "1"),
            ("companions", [Member("m/x", text, DEFLATED, extra=UNIX_TIMES), *bad, Member("__MACOSX/m/._x", b"other"),
                            Member("__MACOSX/m/._x", fork, extra=UNIX_TIMES)], "--raw"),
        ]
        for what, members, *more in cases:
            self.zip.write_bytes(archive(*members))

            def tested(jobs):
                result = self.run_tool("test", "--json", jobs, self.zip)
                return result.returncode, result.stdout, result.stderr

            def extracted(jobs, *arguments):
                subprocess.run(["chmod", "-R", "u+rwx", "out"], cwd=self.root, check=False, stderr=subprocess.DEVNULL)
                self.put("out", {"bad/7": "a user's"})
                result = self.run_tool("extract", jobs, *arguments, self.zip, "-d", "out")
                return result.returncode, result.stdout, result.stderr, *self.described("out")

            with self.subTest(what):
                self.assert_same(tested)
            for arguments in ([], ["--overwrite"]):
                with self.subTest(what, arguments=arguments):
                    self.assert_same(lambda jobs, given=(*more, *arguments): extracted(jobs, *given))

    def start(self, *arguments, stopped=lambda state: state == "T", **settings):
        """A run, and the processes that it has at work, once both are in that state."""
        process = subprocess.Popen([PROGRAM, *map(str, arguments)], cwd=self.root, env=self.counted(**settings),
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        children = []
        state = lambda child: pathlib.Path(f"/proc/{child}/stat").read_text().rpartition(") ")[2][0]
        while len(children) < 2 or not all(stopped(state(child)) for child in children):
            self.assertIsNone(process.poll())
            time.sleep(0.001)
            children = pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()
        return process, {int(child): os.pidfd_open(int(child)) for child in children}

    def assert_ended(self, children):
        for child, handle in children.items():
            self.assertEqual(select.select([handle], [], [], 60)[0], [handle], f"{child} goes on")
            os.close(handle)

    def test_whatever_ends_leaves_no_process_and_nothing_half_written(self):
        """Its processes stand in the middle of a large member, and of a share of small ones, and go no further."""
        self.zip.write_bytes(archive(Member("large", bytes(1 << 24), DEFLATED), *many("d")))
        self.write("bad.zip", archive(*(Member(f"{i}", b"1", crc=1) for i in range(9000))))
        for verb in (["test", "bad.zip"], ["extract", "--overwrite", self.zip, "-d", "out"]):
            for what, number in (("child", signal.SIGKILL), ("child", signal.SIGTERM), ("parent", signal.SIGINT),
                                 ("parent", signal.SIGTERM), ("parent", signal.SIGKILL)):
                with self.subTest(verb[0], what=what, number=number):
                    self.put("out", {})
                    process, children = self.start(verb[0], "-j2", *verb[1:], STOP=2)
                    before = self.found()
                    os.kill(min(children) if what == "child" else process.pid, number)
                    if (what, number) == ("parent", signal.SIGKILL):
                        os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
                    for handle in children.values():
                        with contextlib.suppress(ProcessLookupError):
                            signal.pidfd_send_signal(handle, signal.SIGCONT)
                    errors = process.communicate()[1].decode()
                    self.assertEqual(process.returncode, 3 if what == "child" else -number)
                    self.assertEqual("one of its processes was ended" in errors, what == "child", errors)
                    self.assert_ended(children)
                    self.assertEqual(self.strays(), [])
                    if (what, number) == ("parent", signal.SIGKILL):
                        self.assertLessEqual(self.found().keys(), before.keys())

    def test_processes_that_wait_to_be_heard_end_too(self):
        self.zip.write_bytes(archive(*(Member(f"{'n' * 250}/{i}", b"1", crc=1) for i in range(10000))))
        process, children = self.start("test", "-j3", self.zip, stopped=lambda state: state == "S")
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

    def test_where_memory_or_open_files_run_short_there_are_fewer_threads(self):
        noise = random.Random(1)
        for i in range(80):
            self.write(f"t/{i}", noise.randbytes(200000))
        spaces = range(68 << 20, 400 << 20, 64 << 20)
        for what, limits in ((resource.RLIMIT_AS, spaces), (resource.RLIMIT_NOFILE, (12, 40))):
            for limit in limits:
                limited = {"preexec_fn": lambda what=what, limit=limit: resource.setrlimit(what, (limit, limit))}
                if self.run_tool("--version", **limited).returncode != 0:
                    continue  # a build with checks, which takes address space for itself
                with self.subTest((what, limit)):
                    self.zip.unlink(missing_ok=True)
                    self.expect(0, "create", "-qj64", self.zip, "t", **limited)


if __name__ == "__main__":
    unittest.main()
