#!/usr/bin/env python3
"""Sealed updates under attack: whatever a server sends, the installed target starts and stays as it was."""

import base64
import concurrent.futures
import contextlib
import errno
import fcntl
import functools
import io
import os
import pathlib
import re
import subprocess
import tempfile
import unittest
import zipfile

from desktop import wait_for
from launcher import VERSION, bundle_files, update_archive
from sealing import HEADLESS, KEYS, SealedLauncher, contents, release, sign
from updateserver import UpdateServer, page, silent

MISSING = "Die Signatur des Updates fehlt."
INVALID = "Die Signatur des Updates ist ungültig."
OTHER_VERSION = "Die Signatur gehört zu einer anderen Version."
NOT_NEWER = "Das Update ist nicht neuer als das zuletzt installierte."
NOT_LOADED = "Das Update konnte nicht geladen werden."
NOT_UNPACKED = "Das Update konnte nicht entpackt werden."
INCOMPLETE = "Das Update ist unvollständig."
BUSY = "Ein anderes Update läuft noch."
NOT_PLACED = "Das Update konnte nicht eingespielt werden."
WRITE_COUNTER = pathlib.Path(os.environ.get("WRITE_COUNTER", "build/dev/tests/tools/libwritecounter.so")).resolve()
DONE = "Update erfolgreich!"
SEARCHING = "Suche nach Updates..."

GOOD = update_archive("new")
COMMENT = "version:18\tserial:6"


def members(archive):
    """The files in an archive and the folders above them, as contents() tells of them."""
    with zipfile.ZipFile(io.BytesIO(archive)) as opened:
        files = {name: opened.read(name) for name in opened.namelist()}
    return {**{str(folder): None for name in files for folder in pathlib.PurePath(name).parents[:-1]}, **files}


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


def with_member(name, text="text", link=False, through=False):
    """A whole update with one more member, and one that lies behind it."""
    stream = io.BytesIO(GOOD)
    with zipfile.ZipFile(stream, "a") as archive:
        info = zipfile.ZipInfo(name)
        info.external_attr = (0o120777 if link else 0o100644) << 16
        archive.writestr(info, text)
        if through:
            archive.writestr(name + "/x", text)
    return stream.getvalue()


def attacks():
    """(what would be broken, the server's answers, the status line, options of the run)"""
    good = sign(GOOD, COMMENT)
    third = another_key()

    def signature(name, text, status):
        return name, release(signature=text), status, {}

    def archive(name, data, status, **options):
        return name, release(data), status, options

    def target(name, file, text, mode=0o644):
        return archive(name, update_archive("new", changed={f"Vantorel.app/Contents/{file}": (text, mode)}), INCOMPLETE)

    def comment(name, text, status):
        return signature(name, sign(GOOD, text), status)

    noise = "".join(format(hash((7, i)) & 0xFFFFFFFF, "08x") for i in range(25000))
    plist = bundle_files("new")["Vantorel.app/Contents/Info.plist"][0]
    large = update_archive("new", [("Vantorel.app/big", noise)])
    return [
        signature("no signature", (b"", "404 Not Found"), MISSING),
        signature("an error page for a signature", (b"<html>gone</html>", "404 Not Found"), MISSING),
        signature("a signature that is gone", (b"gone", "410 Gone"), MISSING),
        signature("a signature that may not be read", (b"no", "403 Forbidden"), NOT_LOADED),
        signature("a faulty server", (b"", "500 Oops"), NOT_LOADED),
        signature("closed at once", lambda connection: connection.close(), NOT_LOADED),
        signature("an empty signature", b"", MISSING),
        signature("another key's", third, INVALID),
        signature("another key's, under the id of ours", claiming(third, key_of=good), INVALID),
        signature("ours, under the id of another key", claiming(good, key_of=third), INVALID),
        signature("the algorithm without a hash", sign(GOOD, COMMENT, legacy=True), INVALID),
        signature("the hash signed, under the letters of that algorithm", claiming(good, algorithm=b"Ed"), INVALID),
        signature("the comment was changed", good.replace(b"serial:6", b"serial:7"), INVALID),
        signature("the comment's signature was changed", good[:-20] + b"AAAA" + good[-16:], INVALID),
        signature("another archive's signature", sign(GOOD + b"\0", COMMENT), INVALID),
        signature("no Base64", good[:60] + b"*" + good[61:], INVALID),
        signature("a line more", good + b"\n", INVALID),
        signature("a line less", good[:good.rindex(b"\n", 0, -1)], INVALID),
        signature("noise", os.urandom(300), INVALID),
        signature("more than 4 KiB", good + b"x" * 4096, INVALID),
        signature("no end", endless(b"HTTP/1.0 200 OK\r\n\r\n", b"x" * 65536), INVALID),
        signature("no end of the headers", endless(b"HTTP/1.0 200 OK\r\n", b"x: y\r\n" * 9999), NOT_LOADED),
        signature("no answer", silent, NOT_LOADED),
        comment("another version", "version:17\tserial:6", OTHER_VERSION),
        comment("a longer version", "version:18.1\tserial:6", OTHER_VERSION),
        comment("an older release", "version:18\tserial:4", NOT_NEWER),
        comment("the installed release's number under another version", "version:18\tserial:5", NOT_NEWER),
        comment("no serial number", "version:18", INVALID),
        comment("a number of 19 digits", "version:18\tserial:1000000000000000006", INVALID),
        comment("a negative number", "version:18\tserial:-6", INVALID),
        comment("more behind the number", "version:18\tserial:6\tx", INVALID),
        ("letter case", release(version="18-rc", signature=sign(GOOD, "version:18-RC\tserial:6")), OTHER_VERSION, {}),
        ("a line end in the version text", {**release(), VERSION: page(b"18\n")}, OTHER_VERSION, {}),
        ("a version that is no text", {**release(signature=good), VERSION: page(b"18\xff")}, OTHER_VERSION, {}),
        ("an endless version in the log", {**release(signature=good), VERSION: page(b"18" * 50000)}, OTHER_VERSION, {}),
        ("first byte", release(update=flipped(GOOD, 0)), INVALID, {}),
        ("middle byte", release(update=flipped(GOOD, len(GOOD) // 2)), INVALID, {}),
        ("last byte", release(update=flipped(GOOD, -1)), INVALID, {}),
        ("a byte more", release(update=GOOD + b"\0"), INVALID, {}),
        ("cut off", release(update=lambda c: (c.sendall(page(GOOD)[:-9]), c.close())), NOT_LOADED, {}),
        ("error page for an archive", release(update=(GOOD, "500 Oops")), NOT_LOADED, {}),
        ("no archive", release(update=silent), NOT_LOADED, {}),
        ("endless headers of the archive",
         release(update=endless(b"HTTP/1.0 200 OK\r\n", b"x: y\r\n" * 9999)), NOT_LOADED, {}),
        archive("no target", update_archive(None, [("Other.app/x", "x")]), INCOMPLETE),
        archive("the target is a file", update_archive(None, [("Vantorel.app", "x")]), INCOMPLETE),
        archive("the target is empty", update_archive(None, [("Vantorel.app/", "")]), INCOMPLETE),
        target("Info.plist names a program that is not there", "Info.plist", plist.replace("Vantorel<", "Other<")),
        target("Info.plist cannot be read", "Info.plist", "bplist00"),
        target("the program that comes first may not be executed", "Linux/Vantorel", "text"),
        target("the program is empty", "MacOS/Vantorel", "", 0o755),
        archive("no archive at all", b"plain text", NOT_UNPACKED),
        archive("a bad member", flipped(GOOD, 80), NOT_UNPACKED),
        archive("disk full while downloading", large, NOT_LOADED, file_limit=4096),
        archive("disk full while unpacking", large, NOT_UNPACKED, file_limit=190000),
        archive("out of the folder", with_member("../x"), NOT_UNPACKED),
        archive("out of the folder from below", with_member("Vantorel.app/../../x"), NOT_UNPACKED),
        archive("out of the folder once colons are gone", with_member(".:./x"), NOT_UNPACKED),
        archive("an absolute path", with_member("/tmp/x"), NOT_UNPACKED),
        archive("a link", with_member("link", "/tmp", link=True), NOT_UNPACKED),
        archive("through a link", with_member("link", "/tmp", link=True, through=True), NOT_UNPACKED),
        archive("the record of the version", with_member("version"), NOT_UNPACKED),
        archive("the record of the serial number", with_member("Serial"), NOT_UNPACKED),
        archive("attributes of the launcher's own file", with_member("._serial", "x"), NOT_UNPACKED),
        archive("the work folder", with_member(".update/x"), NOT_UNPACKED),
        archive("the lock", with_member(".Update.lock"), NOT_UNPACKED),
    ]


def in_parallel(function, cases):
    """The results of many runs, which mostly wait."""
    with concurrent.futures.ThreadPoolExecutor(64) as pool:
        return list(pool.map(function, cases))


MORE = update_archive("new", [("Data/a", "new"), ("Data/b", "new"), ("splash", "no picture")])
UPDATE_OF_MORE = release(MORE)
INSTALLED_MORE = {"version": b"mac_18", "serial": b"6", **members(MORE)}


def prepare(launcher):
    """Installs what an update with more than the target replaces. Returns it."""
    launcher.install()
    (launcher.folder / "Data").mkdir()
    (launcher.folder / "Data/a").write_text("old")
    (launcher.folder / "Data").chmod(0o555)
    return contents(launcher.folder)


def next_start(launcher, answers=None, **options):
    """What the next start leaves, and the target that it starts, if there is one. Without answers it is offline."""
    (launcher.folder / "started").unlink(missing_ok=True)
    launcher.run(answers, **options)
    return contents(launcher.folder), launcher.wait_started() if (launcher.folder / "Vantorel.app").exists() else None


def fault(kind, call, old_system):
    """What makes a call that changes files go wrong, on a system that can exchange two names or an older one."""
    variables = {"LD_PRELOAD": str(WRITE_COUNTER), f"WRITE_COUNTER_{kind}": str(call)}
    return {**variables, "WRITE_COUNTER_OLD": "1"} if old_system else variables


def at_every_call(function, systems=(False, True), calls=range(1, 37)):
    """The settings and results of runs in which one call after the other goes wrong. A result's first item tells
    whether none did; so it is where the last call is meant, which is one too many."""
    settings = [{"call": call, "old_system": system} for system in systems for call in calls]
    results = list(zip(settings, in_parallel(function, settings)))
    assert all(result[0] for setting, result in results if setting["call"] == calls[-1]), "there are more calls"
    return results


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

    def test_what_is_signed_is_installed(self):
        def links_away(launcher):
            elsewhere = launcher.home / "elsewhere"
            for folder in ("old", "new"):
                (elsewhere / folder).mkdir(parents=True)
                (elsewhere / folder / "doc").write_text("theirs")
            for name in ("version", "serial"):
                (elsewhere / name).write_text("theirs")
            (elsewhere / "journal").write_bytes(b"1 0 doc\0")
            (launcher.folder / "Vantorel.app").rename(elsewhere / "Vantorel.app")
            (launcher.folder / "Vantorel.app").symlink_to(elsewhere / "Vantorel.app")
            (launcher.folder / ".update").symlink_to(elsewhere)

        def not_to_be_changed(launcher):
            (launcher.folder / "Vantorel.app/Contents").chmod(0o555)
            (launcher.folder / "Vantorel.app").chmod(0o555)

        def broken_off(launcher, mode=0o755, owner=-1):
            (launcher.folder / ".update/new/Vantorel.app/sub").mkdir(parents=True)
            (launcher.folder / ".update/version").write_text("mac_9")
            (launcher.folder / ".update/serial").write_text("9")
            (launcher.folder / ".update/journal").write_bytes(b"\0" * 99)  # as a power failure leaves it
            (launcher.folder / ".update/new").chmod(mode)
            (launcher.folder / ".update").chmod(mode)
            if os.getuid() == 0:
                os.chown(launcher.folder / ".update", owner, -1)

        def beside_a_waiting_launcher(launcher):
            broken_off(launcher)
            server = self.enterContext(UpdateServer({VERSION: silent}, port=0))
            other = launcher.start(HEADLESS, as_nobody=True, arguments=[server.url])
            self.addCleanup(other.communicate)
            self.addCleanup(other.kill)
            wait_for(lambda: server.requests, "the other launcher to wait")

        def moved_aside(launcher):
            (launcher.folder / ".update-2/old").mkdir(parents=True)

        def work_folder_of_another(launcher):
            broken_off(launcher, 0o700, owner=1)

        nothing = lambda launcher: launcher.folder.rename(launcher.home / "gone")
        no_target = lambda launcher: subprocess.run(["rm", "-r", launcher.folder / "Vantorel.app"], check=True)
        any_comment = sign(GOOD, COMMENT).replace(b"untrusted comment: ", b"untrusted comment: any", 1)
        cases = [  # what would be broken, what is there before, the release
            ("an update", lambda launcher: None, release()),
            ("the first installation", nothing, release()),
            ("the old key", lambda launcher: None, release(signature=sign(GOOD, COMMENT, KEYS / "old.key"))),
            ("the same release again, where the target is gone", no_target, release(version="17", serial=5)),
            ("the comment that is not signed", lambda launcher: None, release(signature=any_comment)),
            ("18 digits, over an installation of no number", lambda launcher: (launcher.folder / "serial").unlink(),
             release(serial=999999999999999999)),
            ("more than the target", lambda launcher: (launcher.folder / "Data").write_text("a file"),
             release(update_archive("new", [("Data/x", "x"), ("Vantorel.app/Contents/y", "y"), ("splash", "no picture")]))),
            ("links in the launcher folder", links_away, release()),
            ("folders that may not be changed", not_to_be_changed, release()),
            ("left-overs of a run that was broken off", broken_off, release()),
            ("left-overs that may not be looked at", lambda launcher: broken_off(launcher, 0), release()),
            ("left-overs that cannot be removed", work_folder_of_another, release()),
            ("left-overs moved aside", moved_aside, release()),
            ("another launcher that installs nothing", beside_a_waiting_launcher, release()),
            ("a link in a circle", lambda launcher: (launcher.folder / ".update").symlink_to(".update"), release()),
        ]

        def install(case):
            _, prepare, answers = case
            with SealedLauncher() as launcher:
                launcher.install()
                prepare(launcher)
                code = launcher.run(answers, as_nobody=True)
                elsewhere = contents(launcher.home / "elsewhere")
                found = {name: what for name, what in contents(launcher.folder).items() if not name.startswith(".update-1")}
                return code, launcher.status, launcher.wait_started(), found, elsewhere, launcher.errors

        for (name, _, answers), (code, status, started, found, elsewhere, errors) in zip(cases, in_parallel(install, cases)):
            with self.subTest(name):
                self.assertEqual((code, status, started, errors), (0, DONE, "new", ""))
                version, archive = (answers[f"/mac_Vantorel_{what}"].split(b"\r\n\r\n", 1)[1] for what in ("version", "update"))
                serial = re.search(rb"\tserial:(\d+)", answers["/mac_Vantorel_signature"])[1]
                self.assertEqual(found, {"version": b"mac_" + version, "serial": serial, **members(archive)})
                theirs = [path for path, what in elsewhere.items() if what == b"theirs"]
                self.assertEqual(theirs, ["new/doc", "old/doc", "serial", "version"] if "links" in name else [])

    def test_what_stands_in_the_way_is_told(self):
        def at_work(launcher):
            (launcher.folder / ".update").mkdir()
            (launcher.folder / ".update/Vantorel.zip").write_text("half")
            lock = os.open(launcher.folder / ".update.lock", os.O_RDWR | os.O_CREAT)
            self.addCleanup(os.close, lock)
            fcntl.flock(lock, fcntl.LOCK_EX)

        def numbered_anew(launcher):
            (launcher.folder / ".update/new/Vantorel.app").mkdir(parents=True)
            (launcher.folder / ".update/journal").write_bytes(b"1 16877 Vantorel.app\0")

        def no_lock(launcher):
            (launcher.folder / ".update.lock").mkdir()

        cases = [  # what would be broken, what is there, the status line, what standard error tells
            ("another launcher at work", at_work, BUSY, "another launcher works"),
            ("old and new items that have other inodes after a remount", numbered_anew, NOT_PLACED,
             "Vantorel.app: cannot be told .* without the folder .update any update is installed"),
            ("no lock", no_lock, NOT_PLACED, ".lock: Is a directory"),
            ("no lock, where nothing is to be done", no_lock, SEARCHING, "^$"),
            ("a damaged serial number", lambda launcher: (launcher.folder / "serial").write_text(""), NOT_PLACED,
             "is no serial number; without that file any update is accepted"),
            ("a serial number that is no file", lambda launcher: ((launcher.folder / "serial").unlink(),
             (launcher.folder / "serial").mkdir()), NOT_PLACED, "serial"),
            ("a serial number without an end", lambda launcher: os.truncate(launcher.folder / "serial", 33 << 20),
             NOT_PLACED, "too large"),
        ]
        for name, stand_in_the_way, status, detail in cases:
            with self.subTest(name), SealedLauncher() as launcher:
                launcher.install()
                stand_in_the_way(launcher)
                before = contents(launcher.folder)
                answers = release(version="17") if status == SEARCHING else release()
                self.assertEqual((launcher.run(answers), launcher.status), (0, status))
                self.assertRegex(launcher.errors, detail)
                self.assertEqual((launcher.wait_started(), contents(launcher.folder)), ("old", before))

    def test_refused_with_nothing_installed_a_message_names_the_cause(self):
        with SealedLauncher() as launcher:
            self.assertEqual(launcher.run(release(signature=b"")), 0)
            self.assertEqual(launcher.messages, [MISSING + " Vantorel konnte deshalb nicht installiert werden. "
                                                           "Bitte versuchen Sie es später noch einmal. Hilft das nicht, fragen Sie Ihren Administrator!"])
            self.assertIsNone(launcher.started())
            self.assertEqual(contents(launcher.folder), {})


class Faults(unittest.TestCase):
    def test_any_file_system_without_exchange_will_do(self):
        for error in (errno.EINVAL, errno.ENOSYS, errno.EOPNOTSUPP, errno.EXDEV):
            with self.subTest(errno.errorcode[error]), SealedLauncher() as launcher:
                prepare(launcher)
                launcher.run(UPDATE_OF_MORE, LD_PRELOAD=str(WRITE_COUNTER), WRITE_COUNTER_OLD=str(error))
                self.assertEqual((launcher.status, contents(launcher.folder)), (DONE, INSTALLED_MORE))

    def test_killed_at_any_moment_all_is_old_or_all_is_new(self):
        def killed(settings):
            with SealedLauncher() as launcher:
                before = prepare(launcher)
                ended_by_itself = launcher.run(UPDATE_OF_MORE, **fault("KILL", **settings)) == 0
                # The next starts have a bad disk, and are killed too, somewhere on their way.
                launcher.run(None, **fault("FAIL", 1, settings["old_system"]))
                launcher.run(UPDATE_OF_MORE, **fault("KILL", settings["call"] * 7 % 11 + 1, settings["old_system"]))
                return ended_by_itself, before, next_start(launcher), next_start(launcher, UPDATE_OF_MORE)

        for settings, (_, before, offline, online) in at_every_call(killed):
            with self.subTest(**settings):
                self.assertIn(offline, [(before, "old"), (INSTALLED_MORE, "new")])
                self.assertEqual(online, (INSTALLED_MORE, "new"))

    def test_a_first_installation_that_was_killed_starts_or_leaves_nothing(self):
        def killed(settings):
            with SealedLauncher() as launcher:
                ended_by_itself = launcher.run(UPDATE_OF_MORE, **fault("KILL", **settings)) == 0
                return ended_by_itself, next_start(launcher), next_start(launcher, UPDATE_OF_MORE)

        for settings, (_, offline, online) in at_every_call(killed, systems=[False]):
            with self.subTest(**settings):
                self.assertIn(offline, [({}, None), (INSTALLED_MORE, "new")])
                self.assertEqual(online, (INSTALLED_MORE, "new"))

    def test_where_a_step_fails_all_is_old_or_all_is_new(self):
        def failing(kind, settings):
            with SealedLauncher() as launcher:
                before = prepare(launcher)
                code = launcher.run(UPDATE_OF_MORE, **fault(kind, **settings))
                done = launcher.status == DONE
                stayed = contents(launcher.folder) == before and (launcher.folder / "Data").stat().st_mode & 0o777 == 0o555
                # As long as the disk is full, nothing more can be asked for.
                at_once = None if kind == "FULL" else (code, launcher.wait_started(), stayed)
                return done, before, at_once, next_start(launcher), next_start(launcher, UPDATE_OF_MORE)

        kinds = [("FULL", {}), ("FAIL", {}), ("LOOK", {"systems": [False], "calls": range(45, 77)})]
        for kind, options in kinds:
            results = at_every_call(functools.partial(failing, kind), **options)
            for settings, (done, before, at_once, offline, online) in results:
                with self.subTest(kind, **settings):
                    if at_once:
                        self.assertEqual(at_once, (0, "new", False) if done else (0, "old", True))
                    self.assertEqual(offline, (INSTALLED_MORE, "new") if done else (before, "old"))
                    self.assertEqual(online, (INSTALLED_MORE, "new"))
            self.assertGreater(sum(not result[0] for _, result in results), 15, kind)


if __name__ == "__main__":
    unittest.main(verbosity=2)
