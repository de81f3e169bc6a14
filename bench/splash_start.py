#!/usr/bin/env python3
"""Measures what the launcher's splash costs beside a bare window of the same toolkit.

Starts both programs in turn on an X server without a screen and tells, for each, the time from the start of the
process until the middle of the screen is painted, the processor time used by then, which other work on the machine
does not disturb, and the memory held then (VmHWM).

  splash_start.py LAUNCHER BARE_WINDOW [ROUNDS]
"""

import ctypes
import os
import signal
import statistics
import subprocess
import sys
import tempfile
import time

WIDTH, HEIGHT = 1024, 768
Z_PIXMAP = 2
ALL_PLANES = ctypes.c_ulong(-1)


class Screen:
    """An X server without a screen, and a look at its middle."""

    def __enter__(self):
        read_end, write_end = os.pipe()
        self._server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{WIDTH}x{HEIGHT}x24", "-ac", "-nolisten", "tcp",
             "-noreset"], pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as pipe:
            self.name = ":" + pipe.readline().strip()
        self._x11 = ctypes.CDLL("libX11.so.6")
        for function in ("XOpenDisplay", "XGetImage"):
            getattr(self._x11, function).restype = ctypes.c_void_p
        for function in ("XDefaultRootWindow", "XGetPixel"):
            getattr(self._x11, function).restype = ctypes.c_ulong
        self._display = ctypes.c_void_p(self._x11.XOpenDisplay(self.name.encode()))
        self._root = ctypes.c_ulong(self._x11.XDefaultRootWindow(self._display))
        return self

    def __exit__(self, *_):
        self._server.terminate()
        self._server.wait()

    def middle(self):
        image = ctypes.c_void_p(self._x11.XGetImage(self._display, self._root, WIDTH // 2, HEIGHT // 2, 1, 1,
                                                    ALL_PLANES, Z_PIXMAP))
        pixel = self._x11.XGetPixel(image, 0, 0) & 0xFFFFFF
        self._x11.XDestroyImage(image)
        return pixel


def peak_memory(process):
    with open(f"/proc/{process}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM"))


def start(screen, program, environment):
    """Milliseconds to the first paint, milliseconds of processor time and the peak memory in KiB by then."""
    blank = screen.middle()
    begin = time.perf_counter()
    process = os.posix_spawn(program, [program], environment)
    while screen.middle() == blank:
        if time.perf_counter() - begin > 20:
            sys.exit(f"{program} painted nothing")
        time.sleep(0.0002)
    took = (time.perf_counter() - begin) * 1000
    memory = peak_memory(process)
    os.kill(process, signal.SIGKILL)
    usage = os.wait4(process, 0)[2]
    while screen.middle() != blank:
        time.sleep(0.001)
    return took, (usage.ru_utime + usage.ru_stime) * 1000, memory


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__.strip())
    programs = {"launcher": sys.argv[1], "bare window": sys.argv[2]}
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 15
    results = {name: [] for name in programs}
    with Screen() as screen, tempfile.TemporaryDirectory() as data:
        environment = {**os.environ, "XDG_RUNTIME_DIR": data, "DISPLAY": screen.name, "QT_QPA_PLATFORM": "xcb", "XDG_DATA_HOME": data}
        for round_ in range(rounds + 1):
            for name, program in programs.items():
                result = start(screen, program, environment)
                if round_ > 0:  # the first fills the caches
                    results[name].append(result)
    for name, measured in results.items():
        times, processor, memories = zip(*measured)
        print(f"{name:12} first paint {statistics.median(times):5.1f} ms (least {min(times):.1f}), "
              f"processor {statistics.median(processor):5.1f} ms, memory {statistics.median(memories) / 1024:.1f} MiB, {rounds} rounds")


if __name__ == "__main__":
    main()
