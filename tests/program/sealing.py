"""Sealed updates: signatures made by minisign, and runs of a sealed launcher that has no screen."""

import concurrent.futures
import io
import os
import pathlib
import subprocess
import tempfile
import zipfile

from launcher import CHANGELOG, UPDATE, VERSION, Launcher, update_archive
from updateserver import UpdateServer, page

SIGNATURE = "/mac_Vantorel_signature"
KEYS = pathlib.Path(os.environ.get("SEALED_KEYS", "build/dev/tests/launcher/sealed")).resolve()
HEADLESS = pathlib.Path(os.environ.get("SEALED_HEADLESS", "build/dev/bin/sealed_headless")).resolve()

GOOD = update_archive("new")
COMMENT = "version:18\tserial:6"
DONE = "Update erfolgreich!"
NOT_PLACED = "Das Update konnte nicht eingespielt werden."


def sign(data, comment, key=KEYS / "new.key", legacy=False):
    """The signature file of `data`, as minisign makes it."""
    with tempfile.TemporaryDirectory(prefix="sign-") as folder:
        file = pathlib.Path(folder, "archive")
        file.write_bytes(data)
        subprocess.run(["minisign", "-S", *(["-l"] if legacy else ["-H"]), "-s", key, "-m", file, "-t", comment],
                       check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        return pathlib.Path(f"{file}.minisig").read_bytes()


def release(archive=None, version="18", serial=6, **changes):
    """The answers of a server with this release. `changes` replace an answer: bytes are the body
    of a page, and with a status behind them of an error page."""
    archive = GOOD if archive is None else archive
    bodies = {"version": version.encode(), "changelog": b"notes", "update": archive,
              "signature": sign(archive, f"version:{version}\tserial:{serial}"), **changes}
    paths = {"version": VERSION, "changelog": CHANGELOG, "update": UPDATE, "signature": SIGNATURE}
    return {paths[name]: body if callable(body) else page(*body) if isinstance(body, tuple) else page(body)
            for name, body in bodies.items()}


def contents(folder):
    """All that lies in the launcher folder, but for what a run leaves there for the target."""
    found = {}
    for path in sorted(folder.rglob("*")):
        name = str(path.relative_to(folder))
        if name in ("checkfile", "updatepath", "started", ".update.lock"):
            continue
        found[name] = os.readlink(path) if path.is_symlink() else path.read_bytes() if path.is_file() else None
    return found


def members(archive):
    """The files in an archive and the folders above them, as contents() tells of them."""
    with zipfile.ZipFile(io.BytesIO(archive)) as opened:
        files = {name: opened.read(name) for name in opened.namelist()}
    return {**{str(folder): None for name in files for folder in pathlib.PurePath(name).parents[:-1]}, **files}


def in_parallel(function, cases):
    """The results of many runs, which mostly wait."""
    with concurrent.futures.ThreadPoolExecutor(64) as pool:
        return list(pool.map(function, cases))


class SealedLauncher(Launcher):
    """A sealed launcher without a screen."""

    def install(self, version="17", label="old", serial="5"):
        super().install(version, label)
        (self.folder / "serial").write_text(serial)

    def run(self, answers, **options):
        """A whole run, with a server that gives these answers, or none for None. Returns the exit code; `status` is
        the last status line, `messages` what had to be dismissed."""
        with UpdateServer(answers or {}, port=0) as server:
            self.start(HEADLESS, arguments=[server.url if answers else "http://127.0.0.1:1/"], **options)
            code = self.finish()
        lines = self.output.splitlines()
        self.messages = [line[2:] for line in lines if line.startswith("! ")]
        self.status = lines[-1] if lines else ""
        return code
