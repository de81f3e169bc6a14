#!/usr/bin/env python3
"""The completion of member names in bash: what is offered, and what is inserted into a real command line."""

import os
import pathlib
import pty
import re
import subprocess
import time
import unittest

from forkzip import PROGRAM, ForkzipTest, Member, archive

SOURCES = pathlib.Path(__file__).resolve().parents[2]
COMPLETION = SOURCES / "packaging/forkzip.bash-completion"
MANUAL = SOURCES / "docs/man/forkzip.1"
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

    def offered(self, *words):
        script = SOURCE + r"""
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*"
            COMP_POINT=${#COMP_LINE}
            _forkzip
            eval printf "'%s\n'" "${COMPREPLY[@]}" """
        result = subprocess.run(["bash", "-c", script, "bash", "forkzip", *words], env=self.environment, cwd=self.root,
                                capture_output=True, check=True)
        self.assertEqual(result.stderr, b"")
        return sorted(result.stdout.decode().splitlines())

    def test_every_name_is_offered_and_expanded_by_nothing(self):
        for typed, names in {"": {*NAMES.values()}, "no": [""], "k": ["k@2x:y=!a"]}.items():
            self.assertEqual(self.offered("cat", "an\\ archive.zip", typed), sorted(names))
        self.assertFalse((self.root / "RAN").exists())

    def test_completion_and_manual_know_the_options_of_each_verb(self):
        manual = MANUAL.read_text()
        for verb in self.offered("")[2:]:
            help_text = self.expect(0, verb, "--help").decode()
            options = re.findall(r"^  (?:-\w,)?(--[\w-]+)", help_text, re.MULTILINE)
            self.assertEqual(self.offered(verb, "--"), sorted(options), verb)
            self.assertEqual([option for option in options if option not in manual], [], verb)

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
