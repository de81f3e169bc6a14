#!/usr/bin/env python3
"""The update check and the update as a user meets them: the real launcher, a real window, a server that behaves or
does not."""

import contextlib
import random
import socket
import subprocess
import time
import unittest

from desktop import Desktop, wait_for
from launcher import (BUTTON_ACCEPT, BUTTON_CANCEL, CHANGELOG, NOTICE_INSTALL, NOTICE_UPDATE, PROGRAM, UPDATE, VERSION,
                      Launcher, update_archive)
from updateserver import UpdateServer, enter_own_network, page, silent

enter_own_network()

SPLASH = "<"


def request(path):
    """The bytes of a request, as they must come over the wire."""
    return (f"GET {path} HTTP/1.0\r\nAccept: */*\r\nAccept-Language: en\r\n"
            "Host: 127.0.0.1:47800\r\n\r\n").encode()


def serving(update):
    return UpdateServer({VERSION: page(b"18"), CHANGELOG: page(b""), UPDATE: update})


class ProgramTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = cls.enterClassContext(Desktop())

    def accept(self, launcher, **options):
        """Starts the launcher, and accepts the update that it finds."""
        title = NOTICE_UPDATE if (launcher.folder / "version").exists() else NOTICE_INSTALL
        launcher.start(**options)
        self.desktop.key(self.desktop.window(title, launcher.process), "Return")

    def message_box(self, launcher):
        return self.desktop.window("Vantorel", launcher.process)


class HandOver(ProgramTest):
    def test_versions_that_count_as_equal_start_the_target(self):
        cases = [
            # what would be broken, recorded version, the server's answer
            ("the same text", "17", b"17"),
            ("letter case plays no part", "17-beta", b"17-BETA"),
            ("a line end is part of both", "17\n", b"17\n"),
        ]
        for name, recorded, answer in cases:
            with self.subTest(name), Launcher(self.desktop) as launcher, UpdateServer({VERSION: page(answer)}) as server:
                launcher.install(recorded)
                launcher.start(arguments=["--ignored", "/x/My.app/y.app"])
                self.assertEqual(launcher.finish(), 0, launcher.errors)
                self.assertEqual(launcher.wait_started(), "installed")
                self.assertEqual(server.requests, [request(VERSION)])
                self.assertEqual((launcher.folder / "checkfile").read_bytes(), b"check")
                self.assertEqual((launcher.folder / "updatepath").read_text(), f"{PROGRAM} --ignored /x/My.app")
                self.assertEqual((launcher.folder / "version").read_text(), "mac_" + recorded)

    def test_an_installed_target_starts_when_the_server_has_nothing_to_say(self):
        def reset(connection):
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
            connection.close()

        cases = [("empty body", UpdateServer({VERSION: page(b"")}), 0), ("reset", UpdateServer({VERSION: reset}), 0),
                 ("silence", UpdateServer({VERSION: silent}), 30), ("nobody", contextlib.nullcontext(), 0)]
        for name, server, seconds in cases:
            with self.subTest(name), Launcher(self.desktop) as launcher, server:
                launcher.install("17")
                began = time.monotonic()
                launcher.start()
                self.assertEqual(launcher.finish(), 0, launcher.errors)
                self.assertGreater(time.monotonic() - began, seconds)
                self.assertEqual(launcher.wait_started(), "installed")


class Notice(ProgramTest):
    def test_cancelling_drops_the_update(self):
        def keyboard(window):
            self.desktop.key(window, "alt+F4")  # the window manager's way to close it
            self.desktop.key(window, "Tab")
            self.assertEqual(self.desktop.windows(NOTICE_UPDATE), [window])
            self.desktop.key(window, "Escape")

        def on_a_record_without_a_target(window):
            self.desktop.key(window, "Escape")

        cases = [  # the title, the server's answer, the way to cancel
            (NOTICE_UPDATE, page(b"18"), keyboard),
            (NOTICE_UPDATE, page(b"18"), lambda window: self.desktop.click(window, *BUTTON_CANCEL)),
            (NOTICE_INSTALL, page(b"17", "404 An error page is a version"), on_a_record_without_a_target),
        ]
        for title, answer, cancel in cases:
            with self.subTest(cancel.__name__), Launcher(self.desktop) as launcher, \
                    UpdateServer({VERSION: answer, CHANGELOG: page("Größer".encode())}) as server:
                launcher.install("17")
                if title == NOTICE_INSTALL:
                    subprocess.run(["rm", "-r", launcher.folder / "Vantorel.app"], check=True)
                launcher.start()
                cancel(self.desktop.window(title, launcher.process))
                self.assertEqual(launcher.finish(), 0, launcher.errors)
                self.assertEqual(server.requests, [request(VERSION), request(CHANGELOG)])
                self.assertIsNone(launcher.started())
                self.assertEqual((launcher.folder / "version").read_text(), "mac_17")

    def test_accepting_installs_and_starts_the_new_version(self):
        ways = {"keyboard": lambda window: self.desktop.key(window, "Return"),
                "mouse": lambda window: self.desktop.click(window, *BUTTON_ACCEPT)}
        for name, accept in ways.items():
            with self.subTest(name), Launcher(self.desktop) as launcher, serving(page(update_archive("new"))) as server:
                launcher.start()
                accept(self.desktop.window(NOTICE_INSTALL, launcher.process))
                self.assertEqual(launcher.finish(), 0, launcher.errors)
                self.assertEqual(launcher.wait_started(), "new")
                self.assertEqual(server.requests, [request(VERSION), request(CHANGELOG), request(UPDATE)])
                self.assertEqual((launcher.folder / "version").read_text(), "mac_18")
                self.assertFalse((launcher.folder / "Vantorel.zip").exists())


class Splash(ProgramTest):
    def corner(self, picture):
        """Starts a run with this content of the file `splash` and returns the colour near the splash's top left."""
        with Launcher(self.desktop) as launcher, UpdateServer({VERSION: silent}) as server:
            launcher.install("17")
            if picture is not None:
                (launcher.folder / "splash").write_bytes(picture)
            launcher.start()
            window = self.desktop.window(SPLASH, launcher.process)
            wait_for(lambda: server.requests, "the version request")
            left, top, width, height = self.desktop.geometry(window)
            self.assertEqual((width, height), (475, 337))
            self.assertAlmostEqual(left + width / 2, 512, delta=1)
            self.assertAlmostEqual(top + height / 2, 384, delta=1)
            return self.desktop.pixel(left + 20, top + 20)

    def test_a_file_replaces_the_backdrop_also_one_that_is_no_picture(self):
        green = b"P6 475 337 255\n" + bytes((0, 200, 0)) * (475 * 337)
        plain = (0xC5, 0xC4, 0xC4)
        self.assertNotIn(self.corner(None), [(0, 200, 0), plain])
        self.assertEqual(self.corner(green), (0, 200, 0))
        self.assertEqual(self.corner(b"no picture"), plain)


class Faults(ProgramTest):
    def test_a_fault_is_reported_in_words_and_the_run_ends(self):
        cases = [("no place for application data", "rmdir data; touch data"),
                 ("the version file cannot be read", "chmod 0 data/Vantorel/version"),
                 ("nothing can be written", "chmod 555 data/Vantorel")]
        for name, prepare in cases:
            with self.subTest(name), Launcher(self.desktop) as launcher, UpdateServer({VERSION: page(b"17")}):
                if "chmod" in prepare:
                    launcher.install("17")
                subprocess.run(prepare, shell=True, cwd=launcher.home, check=True)
                launcher.start(as_nobody=True)
                self.desktop.key(self.message_box(launcher), "Return")
                self.assertEqual(launcher.finish(), 1)
                self.assertIn(f"{launcher.data}", launcher.errors)


class FaultyUpdates(ProgramTest):
    """The launcher is trusting by design: each run must still end by itself, with code 0."""

    def test_any_download_counts_as_an_update(self):
        good = update_archive("new")
        noise = random.Random(7).randbytes(100000).hex()  # deflates to a little more than half
        large = page(update_archive("new", [("Vantorel.app/big", noise)]))
        self.assertLess(len(large), 190000)
        cases = [
            # what is wrong, the server's answer, the file size limit, the target that starts
            ("cut download", page(good)[:-len(good) // 2], None, None),
            ("error page", page(b"<html>oops</html>", "500 Oops"), None, None),
            ("empty answer", page(b""), None, None),
            ("no target inside", page(update_archive(None, [("splash", "a picture")])), None, None),
            ("disk full while downloading", large, 4096, None),
            ("disk full while unpacking", large, 190000, "new"),
        ]
        for name, update, limit, target in cases:
            with self.subTest(name), Launcher(self.desktop) as launcher, serving(update):
                self.accept(launcher, file_limit=limit)
                self.assertEqual(launcher.finish(), 0, launcher.errors)
                self.assertEqual(launcher.wait_started() if target else launcher.started(), target)
                self.assertFalse((launcher.folder / "Vantorel.zip").exists())
                self.assertEqual((launcher.folder / "version").read_text(), "mac_18")
                self.assertEqual((launcher.folder / "splash").exists(), name == "no target inside")

    def test_a_folder_that_cannot_be_written_leaves_the_splash_standing(self):
        with Launcher(self.desktop) as launcher, serving(page(update_archive("new"))) as server:
            launcher.install("17", "old")
            launcher.folder.chmod(0o555)
            self.accept(launcher, as_nobody=True)
            # The download has no file to go to, so nothing more happens, not even a hand-over: by design.
            wait_for(lambda: not self.desktop.windows(NOTICE_UPDATE), "the notice to go")
            time.sleep(4)
            self.assertIsNone(launcher.process.poll())
            self.assertIsNone(launcher.started())
            self.assertEqual(server.requests, [request(VERSION), request(CHANGELOG)])
            self.assertEqual((launcher.folder / "version").read_text(), "mac_17")


if __name__ == "__main__":
    unittest.main(verbosity=2)
