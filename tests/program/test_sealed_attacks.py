#!/usr/bin/env python3
"""Sealed updates under attack: whatever a server sends, the installed target starts and stays as it was."""

import base64
import contextlib
import io
import pathlib
import random
import subprocess
import tempfile
import unittest
import zipfile

from launcher import VERSION, update_archive
from sealing import COMMENT, GOOD, SealedLauncher, contents, in_parallel, release, sign
from updateserver import page, silent

MISSING = "Die Signatur des Updates fehlt."
INVALID = "Die Signatur des Updates ist ungültig."
OTHER_VERSION = "Die Signatur gehört zu einer anderen Version."
NOT_NEWER = "Das Update ist nicht neuer als das zuletzt installierte."
NOT_LOADED = "Das Update konnte nicht geladen werden."
NOT_UNPACKED = "Das Update konnte nicht entpackt werden."
INCOMPLETE = "Das Update ist unvollständig."


def flipped(data, at):
    changed = bytearray(data)
    changed[at] ^= 1
    return bytes(changed)


def endless(start, piece):
    """An answer that never ends."""
    def answer(connection):
        connection.sendall(start)
        while True:
            connection.sendall(piece)
    return answer


def another_key():
    with tempfile.TemporaryDirectory(prefix="key-") as folder:
        key = pathlib.Path(folder, "key")
        subprocess.run(["minisign", "-G", "-W", "-p", f"{key}.pub", "-s", key], check=True, stdout=subprocess.DEVNULL)
        return sign(GOOD, COMMENT, key)


def claiming(signature, algorithm=None, key_of=None):
    """The signature with another algorithm's letters, or the id of the key that made another signature."""
    lines = signature.split(b"\n")
    record = base64.b64decode(lines[1])
    key = base64.b64decode(key_of.split(b"\n")[1])[2:10] if key_of else record[2:10]
    lines[1] = base64.b64encode((algorithm or record[:2]) + key + record[10:])
    return b"\n".join(lines)


def with_member(name, link=False):
    """A whole update with one more member."""
    stream = io.BytesIO(GOOD)
    with zipfile.ZipFile(stream, "a") as archive:
        info = zipfile.ZipInfo(name)
        info.external_attr = (0o120777 if link else 0o100644) << 16
        archive.writestr(info, "/tmp")
    return stream.getvalue()


def attacks():
    """(what would be broken, the server's answers, the status line, options of the run)"""
    good = sign(GOOD, COMMENT)
    third = another_key()
    endless_headers = endless(b"HTTP/1.0 200 OK\r\n", b"x: y\r\n" * 9999)
    large = update_archive("new", [("Vantorel.app/big", random.Random(7).randbytes(100000).hex())])
    signatures = [
        ("no signature", (b"<html>gone</html>", "404 Not Found"), MISSING),
        ("a signature that is gone", (b"gone " * 1000, "410 Gone"), MISSING),
        ("a faulty server", (b"", "500 Oops"), NOT_LOADED),
        ("closed at once", lambda connection: connection.close(), NOT_LOADED),
        ("an empty signature", b"", MISSING),
        ("another key's", third, INVALID),
        ("another key's, under the id of ours", claiming(third, key_of=good), INVALID),
        ("ours, under the id of another key", claiming(good, key_of=third), INVALID),
        ("the algorithm without a hash", sign(GOOD, COMMENT, legacy=True), INVALID),
        ("the hash signed, under the letters of that algorithm", claiming(good, algorithm=b"Ed"), INVALID),
        ("the comment was changed", good.replace(b"serial:6", b"serial:7"), INVALID),
        ("the comment's signature was changed", good[:-20] + b"AAAA" + good[-16:], INVALID),
        ("no Base64", good[:60] + b"*" + good[61:], INVALID),
        ("a line more", good + b"\n", INVALID),
        ("a line less", good[:good.rindex(b"\n", 0, -1)], INVALID),
        ("more than 4 KiB", good + b"x" * 4096, INVALID),
        ("no end", endless(b"HTTP/1.0 200 OK\r\n\r\n", b"x" * 65536), INVALID),
        ("no end of the headers", endless_headers, NOT_LOADED),
        ("no answer", silent, NOT_LOADED),
    ]
    comments = [
        ("another version", "version:17\tserial:6", OTHER_VERSION),
        ("a longer version", "version:18.1\tserial:6", OTHER_VERSION),
        ("an older release", "version:18\tserial:4", NOT_NEWER),
        ("the installed release's number under another version", "version:18\tserial:5", NOT_NEWER),
        ("no serial number", "version:18", INVALID),
        ("a number of 19 digits", "version:18\tserial:1000000000000000006", INVALID),
        ("a negative number", "version:18\tserial:-6", INVALID),
        ("more behind the number", "version:18\tserial:6\tx", INVALID),
    ]
    versions = [
        ("a line end in the version text", b"18\n"),
        ("a version that is no text", b"18\xff"),
        ("an endless version in the log", b"18" * 50000),
    ]
    downloads = [  # under the signature of the archive as it was
        ("first byte", flipped(GOOD, 0), INVALID),
        ("middle byte", flipped(GOOD, len(GOOD) // 2), INVALID),
        ("last byte", flipped(GOOD, -1), INVALID),
        ("a byte more", GOOD + b"\0", INVALID),
        ("cut off", lambda connection: (connection.sendall(page(GOOD)[:-9]), connection.close()), NOT_LOADED),
        ("error page for an archive", (GOOD, "500 Oops"), NOT_LOADED),
        ("no archive", silent, NOT_LOADED),
        ("endless headers of the archive", endless_headers, NOT_LOADED),
    ]
    archives = [  # well signed
        ("no target", update_archive(None, [("Other.app/x", "x")]), INCOMPLETE, {}),
        ("a target that cannot be started", update_archive("new", [("Vantorel.app/Contents/Linux/Vantorel", "")]), INCOMPLETE, {}),
        ("no archive at all", b"plain text", NOT_UNPACKED, {}),
        ("a bad member", flipped(GOOD, 80), NOT_UNPACKED, {}),
        ("disk full while downloading", large, NOT_LOADED, {"file_limit": 4096}),
        ("disk full while unpacking", large, NOT_UNPACKED, {"file_limit": 190000}),
        ("a link", with_member("link", link=True), NOT_UNPACKED, {}),
        *((f"the name {name}", with_member(name), NOT_UNPACKED, {}) for name in (
            "../x", "Vantorel.app/../../x", ".:./x", "/tmp/x", "version", "Serial", "._serial", ".update/x", ".Update.lock")),
    ]
    return [
        *((name, release(signature=answer), status, {}) for name, answer, status in signatures),
        *((name, release(signature=sign(GOOD, comment)), status, {}) for name, comment, status in comments),
        ("letter case", release(version="18-rc", signature=sign(GOOD, "version:18-RC\tserial:6")), OTHER_VERSION, {}),
        *((name, {**release(signature=good), VERSION: page(version)}, OTHER_VERSION, {}) for name, version in versions),
        *((name, release(update=answer), status, {}) for name, answer, status in downloads),
        *((name, release(archive), status, options) for name, archive, status, options in archives),
    ]


class Attacks(unittest.TestCase):
    def test_an_attack_leaves_the_installed_target(self):
        def attack(case):
            _, answers, _, options = case
            with SealedLauncher() as launcher:
                launcher.install()
                (launcher.folder / "mine").write_text("kept")
                before = contents(launcher.folder)
                code = launcher.run(answers, **options)
                with contextlib.suppress(AssertionError):
                    launcher.wait_started()
                return code, launcher.status, launcher.messages, launcher.started(), \
                    contents(launcher.folder) == before, launcher.errors[:2000].count("\n"), \
                    "do not end" in launcher.errors

        cases = attacks()
        for (name, _, status, _), result in zip(cases, in_parallel(attack, cases)):
            with self.subTest(name):
                self.assertEqual(result, (0, status, [], "old", True, 1, "headers" in name))

    def test_refused_with_nothing_installed_a_message_names_the_cause(self):
        with SealedLauncher() as launcher:
            self.assertEqual(launcher.run(release(signature=b"")), 0)
            self.assertEqual(launcher.messages, [MISSING + " Vantorel konnte deshalb nicht installiert werden. "
                                                           "Bitte versuchen Sie es später noch einmal. Hilft das nicht, fragen Sie Ihren Administrator!"])
            self.assertIsNone(launcher.started())
            self.assertEqual(contents(launcher.folder), {})


if __name__ == "__main__":
    unittest.main(verbosity=2)
