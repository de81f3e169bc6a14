"""What the tests of forkzip share: running it, and archives made byte by byte or by other tools."""

import binascii
import json
import os
import pathlib
import shlex
import shutil
import struct
import subprocess
import tempfile
import unittest
import zipfile
import zlib

PROGRAM = os.path.abspath(os.environ.get("FORKZIP", "build/dev/bin/forkzip"))

STORED, DEFLATED = 0, 8
UNIX_TIMES = struct.pack("<HHII", 0x5855, 8, 1700000000, 1700000000)

WAYS = ([], ["--in-place"])  # to edit an archive
DRAFT = ".a.zip.forkzip-new"


def changed_at(seconds):
    """The extra field of a member that was changed then."""
    return struct.pack("<HHBI", 0x5455, 5, 1, seconds)


def unicode_path(stored, name):
    """The extra field of a member that has another name in UTF-8."""
    return struct.pack("<HHBI", 0x7075, 5 + len(name.encode()), 1, zlib.crc32(stored)) + name.encode()


class Member:
    """One member as it is to stand in an archive; every field may be made wrong."""

    def __init__(self, name, data=b"", method=STORED, mode=None, **fields):
        self.name = name if isinstance(name, bytes) else name.encode()
        self.data, self.method = data, method
        self.mode = mode if mode is not None else 0o040755 if self.name.endswith(b"/") else 0o100644
        self.packed = data if method != DEFLATED else zlib.compress(data, wbits=-15)
        self.crc, self.size = zlib.crc32(data), len(data)
        self.flags = self.local_flags = self.attributes = 0
        self.extra = self.comment = b""
        self.version, self.host = 20, 3  # of the format; Unix
        self.descriptor = self.hole = False  # a hole has no record in the directory
        self.offset = None  # of the local header, if not where it is
        vars(self).update(fields)
        if self.descriptor:
            self.flags = self.local_flags = 8

    def local(self):
        sizes = (0, 0, 0) if self.descriptor else (self.crc, len(self.packed), self.size)
        header = struct.pack("<IHHHHHIIIHH", 0x04034B50, 20, self.local_flags, self.method, 0, 0x5821, *sizes,
                             len(self.name), 0) + self.name
        tail = struct.pack("<IIII", 0x08074B50, self.crc, len(self.packed), self.size) if self.descriptor else b""
        return header + self.packed + tail

    def central(self, offset):
        texts = (self.name, self.extra, self.comment)
        return struct.pack("<IBBHHHHHIIIHHHHHII", 0x02014B50, 20, self.host, self.version, self.flags, self.method, 0,
                           0x5821, self.crc, len(self.packed), self.size, *map(len, texts), 0, 0,
                           self.mode << 16 | self.attributes,
                           offset if self.offset is None else self.offset) + b"".join(texts)


def archive(*members, comment=b"", count=None, gap=b"", between=b"", zip64=False):
    """The bytes of an archive; `gap` follows each member and belongs to none, `between` the directory."""
    body, directory = bytearray(), bytearray()  # which grow in place
    for member in members:
        directory += b"" if member.hole else member.central(len(body))
        body += member.local() + gap
    count = sum(not member.hole for member in members) if count is None else count
    if zip64:
        between = struct.pack("<IQHHIIQQQQIIQI", 0x06064B50, 44, 45, 45, 0, 0, count, count, len(directory), len(body),
                              0x07064B50, 0, len(body) + len(directory), 1)
    count = min(count, 0xFFFF)
    end = struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, count, count, len(directory), len(body), len(comment))
    return bytes(body + directory) + between + end + comment


def apple_double(fork, type_and_creator=b"TEXTttxt"):
    """The data of a companion member."""
    info = type_and_creator + bytes(24)
    return struct.pack(">II16xHIIIIII", 0x00051607, 0x00020000, 2, 9, 50, 32, 2, 82, len(fork)) + info + fork


def mac_binary(data, fork, name=b"mac"):
    """A MacBinary II member: header, data fork and resource fork, each filled up to 128 bytes."""
    header = bytearray(128)
    header[1:2 + len(name)] = bytes((len(name),)) + name
    header[65:73] = b"TEXTttxt"
    header[83:91] = len(data).to_bytes(4, "big") + len(fork).to_bytes(4, "big")
    header[122:124] = bytes((129, 129))
    header[124:126] = binascii.crc_hqx(header[:124], 0).to_bytes(2, "big")
    return bytes(header) + data + bytes(-len(data) % 128) + fork + bytes(-len(fork) % 128)


class ForkzipTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="forkzip-")
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        self.zip, self.out = self.root / "a.zip", self.root / "out"

    def write(self, name, content):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def run_tool(self, *arguments, **options):
        """Runs forkzip in the scratch folder."""
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "cwd": self.root, **options}
        return subprocess.run([PROGRAM, *map(str, arguments)], check=False, timeout=300, **options)

    def expect(self, code, *arguments, says="", **options):
        """Runs forkzip, which must end with that exit code and, on standard error, that text."""
        result = self.run_tool(*arguments, **options)
        errors = result.stderr.decode(errors="replace")
        self.assertEqual((result.returncode, "" if says in errors else errors), (code, ""), f"{arguments}: {errors}")
        if code == 0 and not says:
            self.assertEqual(errors, "", arguments)
        return result.stdout

    def shown(self, *runs, **options):
        """What runs of forkzip, each a list of arguments, write to a terminal."""
        line = "; ".join(shlex.join([PROGRAM, *map(str, arguments)]) for arguments in runs)
        return subprocess.run(["script", "-qc", line, "/dev/null"], cwd=self.root, check=False, timeout=300,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, **options).stdout

    def peak(self, *arguments):
        """The most memory, in MiB, that a run of forkzip holds, however it ends."""
        subprocess.run(["/usr/bin/time", "-f", "%M", "-o", "peak", PROGRAM, *map(str, arguments)], cwd=self.root,
                       check=False, timeout=300, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       env={**os.environ, "ASAN_OPTIONS": "quarantine_size_mb=1"})
        return int((self.root / "peak").read_text().split()[-1]) / 1024

    def names(self):
        return self.expect(0, "list", "-q", self.zip).decode().splitlines()

    def members(self):
        return json.loads(self.expect(0, "list", "--json", self.zip))

    def cat(self, name):
        return self.expect(0, "cat", self.zip, name)

    def put(self, folder, files):
        """Makes a folder anew, with these files in it: bytes, or the path that a link holds."""
        shutil.rmtree(self.root / folder, ignore_errors=True)
        (self.root / folder).mkdir()
        for name, content in files.items():
            path = self.root / folder / name
            path.symlink_to(content) if isinstance(content, pathlib.Path) else self.write(path, content)

    def found(self, folder="out"):
        """The files below a folder, in the same form; None for what may not be read."""
        found = {}
        for path in (self.root / folder).rglob("*"):
            name = str(path.relative_to(self.root / folder))
            if path.is_symlink():
                found[name] = path.readlink()
            elif path.is_file():
                found[name] = path.read_bytes() if os.access(path, os.R_OK) else None
        return found

    def described(self, folder):
        """All that is in a folder: modes, times if they are old, and contents; to be compared alone."""
        found = {}
        for path in sorted((self.root / folder).rglob("*")):
            status = path.lstat()
            old = status.st_mtime if status.st_mtime < 1.71e9 else None  # or as late as this run
            found[str(path.relative_to(self.root / folder))] = (status.st_mode, old)
        return found, self.found(folder)

    def strays(self):
        """What is there of the tool's own, or unfinished."""
        return [path for path in self.root.rglob("*")
                if "forkzip" in path.name or path.lstat().st_mode & 0o7777 == 0o1000]

    def assert_others_accept(self, path=None):
        """unzip, 7zz, bsdtar, python and lsar can read the archive whole, with a password for what is encrypted."""
        path = str(path or self.zip)
        for command in (["unzip", "-P", "pw", "-tqq"], ["7zz", "t", "-ppw"], ["bsdtar", "--passphrase", "pw", "-xOf"],
                        ["lsar", "-p", "pw", "-t"]):
            result = subprocess.run([*command, path], capture_output=True, check=False)
            self.assertEqual(result.returncode, 0, (command, result.stdout[-500:], result.stderr[-500:]))
        with zipfile.ZipFile(path) as other:
            other.setpassword(b"pw")
            self.assertIsNone(other.testzip())
