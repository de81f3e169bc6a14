"""A small desktop of the test's own: an X server without a screen, a window manager, and a person's hands and eyes."""

import os
import subprocess
import time


class Desktop:
    """Xvfb with openbox. Use as a context manager; `environment` starts programs on it."""

    def __init__(self, width=1024, height=768):
        self._size = f"{width}x{height}x24"

    def __enter__(self):
        read_end, write_end = os.pipe()
        self._server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", self._size, "-ac", "-nolisten", "tcp", "-noreset"],
            pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise RuntimeError("Xvfb did not start")
        self.display = ":" + number
        self.environment = {"DISPLAY": self.display, "QT_QPA_PLATFORM": "xcb", "XDG_SESSION_TYPE": "x11"}
        self._manager = subprocess.Popen(["openbox", "--sm-disable"], env={**os.environ, **self.environment},
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for(lambda: "_NET_SUPPORTING_WM_CHECK(WINDOW)" in self._run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"),
                 "the window manager")
        return self

    def __exit__(self, *_):
        for process in (self._manager, self._server):
            process.terminate()
            process.wait()

    def _run(self, *command):
        return subprocess.run(command, env={**os.environ, **self.environment}, text=True, errors="replace",
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False).stdout

    def windows(self, title):
        """Ids of the visible windows whose title is exactly `title`."""
        found = self._run("xdotool", "search", "--onlyvisible", "--name", ".").split()
        return [w for w in found if self._run("xdotool", "getwindowname", w).rstrip("\n") == title]

    def window(self, title, process=None):
        """Waits for a window of this title; fails at once if `process` ends before."""
        found = []

        def look():
            found[:] = self.windows(title)
            if not found and process is not None and process.poll() is not None:
                raise AssertionError(f"the program ended ({process.returncode}) before the window '{title}' came")
            return found

        wait_for(look, f"the window '{title}'")
        return found[-1]

    def geometry(self, window):
        text = self._run("xdotool", "getwindowgeometry", "--shell", window)
        values = dict(line.split("=") for line in text.split() if "=" in line)
        return tuple(int(values[key]) for key in ("X", "Y", "WIDTH", "HEIGHT"))

    def focus(self, window):
        self._run("xdotool", "windowactivate", "--sync", window)

    def key(self, window, name):
        self.focus(window)
        self._run("xdotool", "key", "--clearmodifiers", name)

    def click(self, window, x, y):
        self._run("xdotool", "mousemove", "--window", window, str(x), str(y), "click", "1")

    def pixel(self, x, y):
        """The colour at a place of the screen as (red, green, blue)."""
        text = self._run("import", "-window", "root", "-crop", f"1x1+{x}+{y}", "-depth", "8", "txt:-")
        values = text.splitlines()[1].split("(")[1].split(")")[0].split(",")
        return tuple(int(float(v)) for v in values[:3])


def wait_for(condition, what, seconds=60):
    """Waits until `condition()` is true. The limit is generous; it only ends a test that would hang."""
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {seconds} s for {what} in vain")
        time.sleep(0.05)
