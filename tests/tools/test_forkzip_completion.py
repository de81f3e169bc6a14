#!/usr/bin/env python3
"""Completion in bash, zsh and fish: what is offered, and what is inserted into a real command line."""

import os
import pathlib
import re
import subprocess
import time
import unittest

from forkzip import PROGRAM, ForkzipTest, Member, archive

SOURCES = pathlib.Path(__file__).resolve().parents[2]
BASH, ZSH, FISH = (SOURCES / f"packaging/forkzip.{shell}-completion" for shell in ("bash", "zsh", "fish"))
MANUAL = SOURCES / "docs/man/forkzip.1"
SOURCE = f". /usr/share/bash-completion/bash_completion; . '{BASH}'\n"

# What is typed, and the name that it must come to, with an option behind one of them.
NAMES = {
    "a": "a plain one", "b": "b'h", "c": "c$HOME", "d": "d`touch${IFS}RAN`", "e": "e$(touch RAN)", "f": 'f"\\"',
    "g": "größe & Maß", "h": "h*", "i": "i;touch RAN", "k": "k@2x:y=!a", "k@2x:y": "k@2x:y=!a", "l\\ ": "l m/n\\o",
    "c\t--ra": "c$HOME", "'m": "m'$HOME`n", '"n\\$': 'n$HOME"`o!\\', "o\\ 'p": "o p{a,b}", "\\~": "~root",
}


class Completion(ForkzipTest):
    def setUp(self):
        super().setUp()
        names = {*NAMES.values(), "no\nline"}
        self.write("an archive.zip", archive(*(Member(name, name.encode()) for name in names)))
        self.environment = {"PATH": f"{os.path.dirname(PROGRAM)}:/usr/bin:/bin", "LC_ALL": "C.UTF-8", "HOME": "/root",
                            "TERM": "dumb", "PS1": "", "INPUTRC": "/dev/null"}

    def script(self, *command):
        """The first field of each line that a script of a shell prints."""
        result = subprocess.run(command, env=self.environment, cwd=self.root, capture_output=True, check=True)
        self.assertEqual(result.stderr, b"")
        return sorted(line.split("\t")[0] for line in result.stdout.decode().splitlines())

    def offered(self, *words):
        return self.script("bash", "-c", SOURCE + r"""
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*"
            COMP_POINT=${#COMP_LINE}
            _forkzip
            eval printf "'%s\n'" "${COMPREPLY[@]}" """, "bash", "forkzip", *words)

    def test_completion_and_manual_know_the_options_of_each_verb(self):
        manual = MANUAL.read_text()
        for verb in [verb for verb in self.offered("") if not verb.startswith("-")]:
            help_text = self.expect(0, verb, "--help").decode()
            options = sorted(re.findall(r"^  (?:-\w,)?(--[\w-]+)", help_text, re.MULTILINE))
            self.assertEqual(self.offered(verb, "--"), options)
            self.assertEqual([option for option in options if option not in manual], [], verb)

    def inserted(self, shell, source):
        """What each typed name comes to on a command line of that shell, which reads `source` first."""
        found, done = {}, self.root / "done"
        with subprocess.Popen(["script", "-qc", shell, "/dev/null"], env=self.environment, cwd=self.root, bufsize=0,
                              stdin=subprocess.PIPE, stdout=subprocess.DEVNULL) as terminal:
            terminal.stdin.write(source.encode())
            for typed in NAMES:
                terminal.stdin.write(f"forkzip cat an\\ archive.zip {typed}\t >out\nmv out done\n".encode())
                deadline = time.monotonic() + 60
                while not done.exists() and time.monotonic() < deadline:
                    time.sleep(0.005)
                found[typed] = done.read_text() if done.exists() else None
                done.unlink(missing_ok=True)
            terminal.kill()
        return found

    def test_what_is_inserted_means_the_member(self):
        for shell, source in (("bash --norc --noprofile -i", SOURCE),
                              ("zsh -f -i", f"autoload -Uz compinit; compinit -D -u; functions[_forkzip]=$(<'{ZSH}'); "
                               "compdef _forkzip forkzip\n"),
                              ("fish --no-config -i", f"source '{FISH}'\n")):
            with self.subTest(shell):
                self.assertEqual(self.inserted(shell, source), NAMES)
                self.assertFalse((self.root / "RAN").exists())


if __name__ == "__main__":
    unittest.main()
