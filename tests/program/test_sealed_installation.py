#!/usr/bin/env python3
"""The installation of signed updates: what is there before, and what a run that ends anywhere leaves."""

import errno
import fcntl
import functools
import os
import pathlib
import re
import subprocess
import unittest

from desktop import wait_for
from launcher import VERSION, update_archive
from sealing import (COMMENT, DONE, GOOD, HEADLESS, KEYS, NOT_PLACED, SealedLauncher, contents, in_parallel, members,
                     release, sign)
from updateserver import UpdateServer, silent

WRITE_COUNTER = pathlib.Path(os.environ.get("WRITE_COUNTER", "build/dev/tests/tools/libwritecounter.so")).resolve()
BUSY = "Ein anderes Update läuft noch."
SEARCHING = "Suche nach Updates..."


class Installation(unittest.TestCase):
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

        no_target = lambda launcher: subprocess.run(["rm", "-r", launcher.folder / "Vantorel.app"], check=True)
        cases = [  # what would be broken, what is there before, the release
            ("the old key", lambda launcher: None, release(signature=sign(GOOD, COMMENT, KEYS / "old.key"))),
            ("the same release again, where the target is gone", no_target, release(version="17", serial=5)),
            ("18 digits, over an installation of no number", lambda launcher: (launcher.folder / "serial").unlink(),
             release(serial=999999999999999999)),
            ("links in the launcher folder", links_away, release()),
            ("folders that may not be changed", not_to_be_changed, release()),
            ("left-overs of a run that was broken off", broken_off, release()),
            ("left-overs that may not be looked at", lambda launcher: broken_off(launcher, 0), release()),
            ("left-overs that cannot be removed", work_folder_of_another, release()),
            ("left-overs moved aside", moved_aside, release()),
            ("another launcher that installs nothing", beside_a_waiting_launcher, release()),
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


MORE = update_archive("new", [("Data/a", "new"), ("Data/b", "new"), ("splash", "no picture")])
UPDATE_OF_MORE = release(MORE)
TARGET = ("Vantorel.app/Contents/MacOS/Vantorel", members(MORE)["Vantorel.app/Contents/MacOS/Vantorel"])
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


class Faults(unittest.TestCase):
    def test_any_file_system_without_exchange_will_do(self):
        for error in (errno.EINVAL, errno.ENOSYS, errno.EOPNOTSUPP, errno.EXDEV):
            with self.subTest(errno.errorcode[error]), SealedLauncher() as launcher:
                prepare(launcher)
                launcher.run(UPDATE_OF_MORE, LD_PRELOAD=str(WRITE_COUNTER), WRITE_COUNTER_OLD=str(error))
                self.assertEqual((launcher.status, contents(launcher.folder)), (DONE, INSTALLED_MORE))

    def test_killed_at_any_moment_all_is_old_or_all_is_new(self):
        def killed(installed, settings):
            with SealedLauncher() as launcher:
                old = (prepare(launcher), "old") if installed else ({}, None)
                ended_by_itself = launcher.run(UPDATE_OF_MORE, **fault("KILL", **settings)) == 0
                placed = [item for item in members(MORE).items() if item in contents(launcher.folder).items()]
                if installed:
                    # The next starts have a bad disk, and are killed too, somewhere on their way.
                    launcher.run(None, **fault("FAIL", 1, settings["old_system"]))
                    launcher.run(UPDATE_OF_MORE, **fault("KILL", settings["call"] * 7 % 11 + 1, settings["old_system"]))
                return ended_by_itself, placed, old, next_start(launcher), next_start(launcher, UPDATE_OF_MORE)

        for installed, systems in ((True, (False, True)), (False, [False])):
            for settings, (_, placed, old, offline, online) in at_every_call(functools.partial(killed, installed), systems):
                with self.subTest(installed=installed, **settings):
                    if TARGET in placed:
                        self.assertEqual(placed, list(members(MORE).items()), "the target does not come last")
                    self.assertIn(offline, [old, (INSTALLED_MORE, "new")])
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

        for kind, options in (("FULL", {}), ("FAIL", {}), ("LOOK", {"systems": [False], "calls": range(45, 77)})):
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
