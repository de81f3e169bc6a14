"""The launcher under test, its data folder, and a target that tells when it was started."""

import os
import pathlib
import resource
import shutil
import signal
import subprocess
import tempfile
import zipfile

from desktop import wait_for

PROGRAM = pathlib.Path(os.environ.get("VANTOREL_LAUNCHER", "build/dev/bin/VantorelLauncher")).resolve()

NOTICE_INSTALL = "Informationen zur Installation von Vantorel"
NOTICE_UPDATE = "Informationen zum Update von Vantorel"
VERSION = "/mac_Vantorel_version"
CHANGELOG = "/mac_Vantorel_changelog"
UPDATE = "/mac_Vantorel_update"

# The middle of the notice's buttons, where a person would click.
BUTTON_ACCEPT = (547, 434)
BUTTON_CANCEL = (414, 434)


def bundle_files(label):
    """The files of a target that writes `label` into the file `started` beside its bundle."""
    script = f'#!/bin/sh\nprintf %s "{label}" > "$(dirname "$0")/../../../started"\n'
    plist = ('<?xml version="1.0" encoding="UTF-8"?>\n<plist version="1.0"><dict>'
             "<key>CFBundleExecutable</key><string>Vantorel</string></dict></plist>\n")
    return {"Vantorel.app/Contents/Info.plist": (plist, 0o644), "Vantorel.app/Contents/MacOS/Vantorel": (script, 0o755)}


def update_archive(label, extra=()):
    """An update as bytes, made by Python's zipfile: the target unless `label` is None, and more (name, text) pairs."""
    with tempfile.TemporaryFile() as file:
        with zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED) as archive:
            for name, (text, mode) in bundle_files(label).items() if label else ():
                info = zipfile.ZipInfo(name, (2026, 1, 2, 3, 4, 6))
                info.external_attr = (0o100000 | mode) << 16
                info.compress_type = zipfile.ZIP_DEFLATED
                archive.writestr(info, text)
            for name, text in extra:
                archive.writestr(name, text)
        file.seek(0)
        return file.read()


class Launcher:
    """A data folder of its own and the runs of the launcher in it. Use as a context manager."""

    def __init__(self, desktop=None):
        self._desktop = desktop
        self.process = None

    def __enter__(self):
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="launcher-"))
        self.data = self.home / "data"
        self.folder = self.data / "Vantorel"
        self.data.mkdir()
        return self

    def __exit__(self, *_):
        if self.process is not None and self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        subprocess.run(["chmod", "-R", "u+rwX", str(self.home)], check=False)
        shutil.rmtree(self.home, ignore_errors=True)

    def install(self, version, label="installed"):
        """Puts a target in place, as an earlier update would have left it."""
        for name, (text, mode) in bundle_files(label).items():
            path = self.folder / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
            path.chmod(mode)
        if version is not None:
            (self.folder / "version").write_text("mac_" + version)

    def start(self, program=PROGRAM, file_limit=None, as_nobody=False, arguments=(), **environment):
        """Starts the launcher. `file_limit`: no file may grow beyond so many bytes, as on a full disk."""
        def prepare():
            if file_limit is not None:
                signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
                resource.setrlimit(resource.RLIMIT_FSIZE, (file_limit, file_limit))

        command = [str(program), *arguments]
        if as_nobody and os.getuid() == 0:
            subprocess.run(["chown", "-Rh", "--from=root", "nobody", str(self.home)], check=True)
            command = ["setpriv", "--reuid=nobody", "--clear-groups", *command]
        variables = {k: v for k, v in os.environ.items() if not k.startswith(("XDG_", "QT_"))}
        variables.update(HOME=str(self.home), XDG_DATA_HOME=str(self.data), LC_ALL="C.UTF-8")
        if self._desktop is not None:
            variables.update(self._desktop.environment)
        variables.update(environment)
        self.process = subprocess.Popen(command, env=variables, preexec_fn=prepare, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        return self.process

    def finish(self, seconds=120):
        """Waits for the end of the run. Returns the exit code; `output` and `errors` then hold what was said."""
        self.output, self.errors = self.process.communicate(timeout=seconds)
        return self.process.returncode

    def started(self):
        """What the started target wrote, or None if no target has started."""
        marker = self.folder / "started"
        return marker.read_text() if marker.exists() else None

    def wait_started(self):
        wait_for(lambda: self.started(), "the target to start")
        return self.started()
