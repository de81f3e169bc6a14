#!/usr/bin/env python3
"""open: the real program, on bundles made for the purpose."""

import os
import pathlib
import plistlib
import subprocess
import tempfile
import time
import unittest

PROGRAM = pathlib.Path(os.environ.get("OPEN", "build/dev/bin/open")).resolve()

# Tells its path, its arguments, where its errors go, its session and itself.
SCRIPT = '#!/bin/sh\necho "$0|$#|$(readlink /proc/$$/fd/2)|$(ps -o sid= -p $$)|$$" >{0}/part\nmv {0}/part {0}/started\n'


class Open(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="open-")))

    def put(self, name, content, mode=0o755):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        path.chmod(mode)

    def open(self, item, code=0):
        result = subprocess.run([PROGRAM, item], capture_output=True, text=True, check=False,
                                env={**os.environ, "PATH": f"{self.root}:{os.environ['PATH']}"})
        self.assertEqual(result.returncode, code, result.stderr)
        return result.stderr

    def started(self):
        """What the program told that was started."""
        while not (self.root / "started").exists():
            time.sleep(0.001)
        path, arguments, errors, session, process = (self.root / "started").read_text().split("|")
        detached = errors == "/dev/null" and int(session) == int(process)
        return path.removeprefix(f"{self.root}/"), int(arguments), detached

    def test_bundles(self):
        named = plistlib.dumps({"CFBundleExecutable": "Prog"})
        head, tail = named.split(b"<dict>")[0] + b"<dict>", b"</dict></plist>"
        key, types, name = (f"<key>{key}</key>".encode() for key in ("CFBundleExecutable", "Types", "CFBundleName"))
        nested = types + b"<array><dict>" + key + b"<string>x</string></dict></array>"
        program = SCRIPT.format(self.root).encode()
        both = {"Linux/Prog": program, "MacOS/Prog": program}
        own = {"MacOS/A b": program}
        cases = [
            # what would be broken, Info.plist, what stands in Contents, the program that starts or why none does
            ("Linux goes before MacOS", named, both, "Linux/Prog"),
            ("MacOS failing that", named, {"Linux/Other": program, "MacOS/Prog": program}, "MacOS/Prog"),
            ("the bundle's own name by default", None, own, "MacOS/A b"),
            ("a nested dictionary's key counts", head + nested + tail, own, "MacOS/A b"),
            ("a nested dictionary hides the later key", named.replace(b"<dict>", b"<dict>" + nested), both, "Linux/Prog"),
            ("entities and sections", named.replace(b"Prog", b"a&amp;b<![CDATA[<c>]]>&#252;"), {"MacOS/a&b<c>ü": program},
             "MacOS/a&b<c>ü"),
            ("a value of another kind", head + key + b"<true/>" + tail, own, "MacOS/A b"),
            ("a key as another key's value", head + name + b"<string>CFBundleExecutable</string><string>x</string>" + tail,
             own, "MacOS/A b"),
            ("a dictionary in no property list", b"<html><dict></dict></html>", own, "Info.plist: it is no property list"),
            ("cut", named[:named.index(b"</dict>")], own, "Info.plist: line 7: no element found"),
            ("empty", b"", own, "Info.plist: line 1: no element found"),
            ("binary", plistlib.dumps({}, fmt=plistlib.FMT_BINARY), own, "Info.plist: it is a binary property list"),
            ("no program", named, own, 'A b.app: it has no program "Prog" in'),
            ("a name that leaves the bundle", plistlib.dumps({"CFBundleExecutable": "../../../bin/sh"}), {},
             "CFBundleExecutable is no file name"),
            ("not executable, though a later one is", named, {**both, "Linux/Prog": None}, "Linux/Prog: it may not be executed"),
            ("empty program", named, {"MacOS/Prog": b""}, "Prog: it is empty"),
            ("a program for another system", named, {"MacOS/Prog": b"\xcf\xfa\xed\xfe"},
             "Prog: it is not a program for this system"),
            ("an interpreter that is missing", named, {"MacOS/Prog": b"#!/no/such\n"}, "Prog: No such file or directory"),
        ]
        for what, info, files, expected in cases:
            with self.subTest(what):
                subprocess.run(["rm", "-rf", *self.root.iterdir()], check=True)
                for file, content in files.items():
                    self.put(f"A b.app/Contents/{file}", b"x" if content is None else content, 0o644 if content is None else 0o755)
                if info is not None:
                    self.put("A b.app/Contents/Info.plist", info)
                item = f"{self.root}/A b.app/"
                if expected in files:
                    self.assertEqual(self.open(item), "")
                    self.assertEqual(self.started(), (f"A b.app/Contents/{expected}", 0, True))
                else:
                    self.assertRegex(self.open(item, code=1), f"^open: {self.root}/.*{expected}")

    def test_what_is_no_bundle(self):
        self.put("file.app", b"")
        self.assertIn("it is no application: not a folder", self.open(self.root / "file.app", code=1))
        self.assertIn("none.app: No such file or directory", self.open(self.root / "none.app", code=1))
        self.assertIn("usage", self.open("-x", code=2))
        self.put("xdg-open", SCRIPT.format(self.root).encode())
        self.assertEqual(self.open("http://127.0.0.1/"), "")
        self.assertEqual(self.started(), ("xdg-open", 1, False))


if __name__ == "__main__":
    unittest.main()
