#!/usr/bin/env python3
"""The completion of member names in bash: what is offered, and what is inserted into a real command line."""

import os
import pathlib
import pty
import subprocess
import time
import unittest

from forkzip import PROGRAM, ForkzipTest, Member, archive

COMPLETION = pathlib.Path(__file__).resolve().parents[2] / "packaging/forkzip.bash-completion"
SOURCE = f". /usr/share/bash-completion/bash_completion; . '{COMPLETION}'\n"

# What is typed, and the name that it must come to.
NAMES = {
    "a": "a plain one", "b": "b'h", "c": "c$HOME", "d": "d`touch${IFS}RAN`", "e": "e$(touch RAN)", "f": 'f"\\"',
    "g": "größe & Maß", "h": "h*", "i": "i;touch RAN", "k": "k@2x:y=!a", "k@2x:y": "k@2x:y=!a", "l\\ ": "l m/n\\o",
    "'m": "m'$HOME`n", '"n\\$': 'n$HOME"`o!\\', "o\\ 'p": "o p{a,b}", "\\~": "~root",
}


class Completion(ForkzipTest):
    def setUp(self):
        super().setUp()
        names = {*NAMES.values(), "no\nline"}
        self.write("an archive.zip", archive(*(Member(name, name.encode()) for name in names)))
        self.environment = {"PATH": f"{os.path.dirname(PROGRAM)}:/usr/bin:/bin", "LC_ALL": "C.UTF-8", "HOME": "/root",
                            "TERM": "dumb", "PS1": "", "INPUTRC": "/dev/null"}

    def test_what_is_offered(self):
        script = SOURCE + r"""
            COMP_WORDS=(forkzip cat 'an\ archive.zip' "$1") COMP_CWORD=3 COMP_LINE="forkzip cat an\ archive.zip $1"
            COMP_POINT=${#COMP_LINE}
            _forkzip
            eval printf "'%s\n'" "${COMPREPLY[@]}" """
        for typed, names in {"": [*dict.fromkeys(NAMES.values())], "no": [""], "k": ["k@2x:y=!a"]}.items():
            result = subprocess.run(["bash", "-c", script, "bash", typed], env=self.environment, cwd=self.root,
                                    capture_output=True, check=True)
            self.assertEqual((result.stderr, sorted(result.stdout.decode().splitlines())), (b"", sorted(names)), typed)
        self.assertFalse((self.root / "RAN").exists())

    def test_what_is_inserted_means_the_member(self):
        master, terminal = pty.openpty()
        shell = subprocess.Popen(["bash", "--norc", "--noprofile", "-i"], env=self.environment, cwd=self.root,
                                 stdin=terminal, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                 start_new_session=True)
        os.close(terminal)
        os.write(master, SOURCE.encode())
        inserted = {}
        for typed in NAMES:
            os.write(master, f"forkzip cat an\\ archive.zip {typed}\t >out\nmv out done\n".encode())
            done = self.root / "done"
            deadline = time.monotonic() + 60
            while not done.exists():
                self.assertLess(time.monotonic(), deadline, typed)
                time.sleep(0.005)
            inserted[typed] = done.read_text()
            done.unlink()
        os.write(master, b"exit\n")
        shell.wait()
        os.close(master)
        self.assertEqual(inserted, NAMES)
        self.assertFalse((self.root / "RAN").exists())


if __name__ == "__main__":
    unittest.main()
