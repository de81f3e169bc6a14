"""Runs of forkzip in which a call goes wrong, or stops, and how many calls there are."""

import os
import signal
import subprocess
import zipfile

from forkzip import PROGRAM, ForkzipTest

WRITE_COUNTER = os.path.abspath(os.environ.get("WRITE_COUNTER", "build/dev/tests/tools/libwritecounter.so"))


class FaultTest(ForkzipTest):
    """Runs begin with the archive `old`, if it is set, and with the files `before` in the folder `out`."""

    old = None
    before = {}

    def counted(self, **settings):
        """The environment in which forkzip's calls are counted, with faults."""
        return {**os.environ, "LD_PRELOAD": WRITE_COUNTER, "WRITE_COUNTER_LOG": str(self.root / "count"),
                "ASAN_OPTIONS": "verify_asan_link_order=0",
                **{f"WRITE_COUNTER_{key}": str(value) for key, value in settings.items()}}

    def run_counted(self, *command, **settings):
        """Runs forkzip with its calls counted. Gives its result, and how many calls changed, read and closed files."""
        log = self.write("count", "0 0 0")
        result = self.run_tool(*command, env=self.counted(**settings))
        return result, dict(zip(("KILL", "READ", "CLOSE"), map(int, log.read_text().split())))

    def run_stopped(self, *command, meanwhile, **settings):
        """Runs forkzip, which stops at a fault, calls `meanwhile`, and lets it go on. Gives exit code and messages."""
        process = subprocess.Popen([PROGRAM, *map(str, command)], cwd=self.root, env=self.counted(**settings),
                                   stderr=subprocess.PIPE)
        os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
        try:
            self.assertIsNone(process.poll(), "it did not stop")
            meanwhile()
        finally:
            process.send_signal(signal.SIGCONT)
        errors = process.communicate()[1].decode()
        return process.returncode, errors

    def each_fault(self, kind, *command):
        """Runs forkzip with a fault at each of its calls in turn. Yields what each is and came to."""
        self.put_back()
        result, calls = self.run_counted(*command)
        self.assertEqual(result.returncode, 0, result.stderr)
        for n in range(1, calls.get(kind, calls["KILL"]) + 1):
            self.put_back()
            result, _ = self.run_counted(*command, **{kind: n})
            yield f"{command} {kind} {n}", result

    def put_back(self):
        self.put("out", self.before)
        if self.old is None:
            self.zip.unlink(missing_ok=True)
        else:
            self.zip.write_bytes(self.old)

    def content(self):
        """The members as another program reads them."""
        with zipfile.ZipFile(self.zip) as other:
            return {info.filename: other.read(info) for info in other.infolist()}

    def assert_told(self, result):
        self.assertEqual(result.returncode, 3, result.stderr)
        told = b"Input/output error|No space left|something else or cannot be read|process|read back"
        self.assertRegex(result.stderr, told)
