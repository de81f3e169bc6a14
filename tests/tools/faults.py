"""What the tests that stop forkzip at every call share: running it with faults, from one archive."""

import os
import shutil
import signal
import subprocess
import zipfile

from forkzip import PROGRAM, UNIX_TIMES, WRITE_COUNTER, ForkzipTest, Member, apple_double, archive


def mac(name, fork):
    """A member with its data as a Mac stores them."""
    folder, _, leaf = name.rstrip("/").rpartition("/")
    companion = f"__MACOSX/{folder}{'/' if folder else ''}._{leaf}"
    return [Member(name, b"" if name[-1] == "/" else b"data", extra=UNIX_TIMES),
            Member(companion, apple_double(fork), extra=UNIX_TIMES)]


class FaultTest(ForkzipTest):
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

    def assert_told(self, result):
        self.assertEqual(result.returncode, 3, result.stderr)
        self.assertRegex(result.stderr, b"Input/output error|No space left|something else or cannot be read|process")

    def files_in(self, folder):
        return {name: (self.root / folder / name).read_bytes() for name in self.files_below(self.root / folder)}
