#!/usr/bin/env python3
"""forkzip list, info, test, cat, extract: archives that are damaged, or made to do harm."""

import json
import struct
import unittest
import zlib

from forkzip import DEFLATED, ForkzipTest, Member, archive


class Damage(ForkzipTest):
    def test_archives_that_cannot_be_opened(self):
        good = archive(Member("f", b"12345"))
        cases = [
            ("no archive", b"hello", "'PK' header missing"),
            ("cut off", good[:-30], "Central Directory not found"),
            ("one part of several", good[:-18] + b"\1" + good[-17:], "one part of a split"),
            ("the first of several", b"PK\7\10" + good[:-30], "one part of a split"),
        ]
        for what, content, message in cases:
            self.zip.write_bytes(content)
            for verb in ("list", "info", "test", "extract"):
                with self.subTest(what, verb=verb):
                    self.expect(1, verb, self.zip, says=message)
        self.expect(1, "list", "missing.zip", says="forkzip: missing.zip: cannot be opened: No such file")
        self.expect(3, "list", ".", says="is a folder")
        self.zip.write_bytes(archive(Member("f", b"1"), Member("g", b"2"), count=1))
        self.expect(1, "test", self.zip, says="more members than it announces")

    def test_members_that_are_not_sound(self):
        """All that is told of them beyond what the engine finds."""
        text = b"words " * 1000
        part = {"size": 3000, "crc": zlib.crc32(text[:3000])}
        cases = [
            ("sum of deflated data", Member("f", text, DEFLATED, crc=1), "An error -3 occured while deflation"),
            ("sum of stored data", Member("f", text, crc=1), "the checksum of its data is wrong"),
            ("more data than stated", Member("f", text, DEFLATED, **part), "it holds more data than the 3000 bytes"),
            ("stored in more than stated", Member("f", text, **part), "it is stored, but"),
            ("data of a member stated as empty", Member("f", text, DEFLATED, size=0, crc=0), "it holds more data"),
            ("sum of an empty member", Member("f", b"", DEFLATED, crc=1), "the checksum of its data is wrong"),
            ("no end of an empty member", Member("f", b"", DEFLATED, packed=b""), "its data does not end soundly"),
            ("LZMA", Member("f", text, 14), "Unsupported compression method (14), LZMA; 7zz unpacks it"),
            ("AES", Member("f", text, 99, flags=1, local_flags=1),
             "Unsupported format (encrypted by AES); 7zz unpacks it"),
            ("Zip64", Member("f", b"1", version=45, extra=struct.pack("<HHQ", 1, 8, 5 << 30), size=0xFFFFFFFF),
             "it holds 5.0 GiB, and forkzip unpacks members below 2 GiB"),
        ]
        for what, member, message in cases:
            with self.subTest(what):
                self.zip.write_bytes(archive(Member("good", b"1"), member, Member("also good", b"2")))
                told = self.expect(1, "test", self.zip, says=f"forkzip: {self.zip}: f: {message}")
                unpacks = "unpack" not in message
                self.assertIn(b"3 members tested, 1 damaged\n" if unpacks else b" 1 not tested\n", told)
                for asked in (["list", "--long", self.zip], ["info", self.zip, "f"]):
                    self.assertEqual(message in self.expect(0, *asked).decode(), not unpacks)
                self.assertEqual(b"Not unpacked:" in self.expect(0, "info", self.zip), not unpacks)
                self.expect(0, "test", self.zip, "good", "also good")
                self.expect(1, "cat", self.zip, "f", says=message)
                self.expect(1, "extract", self.zip, "-d", "out", "--overwrite", says=message)
                self.assertEqual(sorted(self.found()), ["also good", "good"])
        self.zip.write_bytes(archive(*(member for _, member, _ in cases)))
        failed = json.loads(self.run_tool("test", "--json", self.zip).stdout)["failed"]
        self.assertEqual([(each["index"], each["name"]) for each in failed], [(i + 1, "f") for i in range(len(cases))])

    def test_members_that_overlap(self):
        inner = Member("g", b"12345")
        first, shared = Member("f", b"12345"), {"offset": 0, "flags": 8}
        cases = [
            ("a member in the data of another", [Member("f", inner.local()), Member("g", b"12345", offset=31)], 1),
            ("two records of one member", [first, Member("f", b"12345", offset=0)], 1),
            ("a duplicate as the engine makes it", [first, Member("h", b"12345", **shared)], 0),
            ("duplicates that claim 4 GiB", [first, *[Member("h", size=0x7FFFFFFF, packed=b"12345", **shared)] * 2], 1),
        ]
        for what, members, code in cases:
            with self.subTest(what):
                self.zip.write_bytes(archive(*members))
                for verb in (["test"], ["extract", "-d", what]):
                    self.expect(code, *verb, "-q", self.zip, says="overlaps another member's" if code else "")
                self.assertEqual(sorted(self.found(what)), [] if code else ["f", "h"])
        self.zip.write_bytes(archive(*cases[0][1]))
        self.expect(0, "test", "-q", "--allow-overlap", self.zip)

    def test_messages_stay_short_and_few(self):
        inner, long = Member("g" * 60000, offset=31), Member(("a" * 200 + "/") * 300, crc=1)
        for members, says, most in (([Member("f", inner.local()), inner], "overlaps", 2000),
                                    ([long, *[Member("", crc=1)] * 2999], "2000 more members", 400000)):
            self.zip.write_bytes(archive(*members))
            errors = self.run_tool("test", self.zip).stderr
            self.assertIn(says, errors.decode())
            self.assertLess(len(errors), most)

    def test_memory_stays_with_what_is_there(self):
        claim = 0x7FFFFFFF
        archives = {
            "nothing large": archive(Member("f", b"1")),
            "a record claims 2 GiB": archive(Member("f", b"words", DEFLATED, size=claim)),
            "a stored one, and its companion": archive(Member("f", b"words", size=claim), Member("._f", size=claim)),
            "a bomb": archive(Member("f", bytes(80 << 20), DEFLATED)),
            "a long name that members take over": archive(Member(("a" * 200 + "/") * 320, crc=1),
                                                          *[Member("", crc=1)] * 500),
        }
        small = None
        for what, content in archives.items():
            self.zip.write_bytes(content)
            for verb, *arguments in (["list", "--json"], ["info", "f"], ["test", "--json"], ["cat", "f"], ["extract"]):
                with self.subTest(what, verb=verb):
                    peak = self.peak(verb, self.zip, *arguments)
                    small = small or peak
                    self.assertLess(peak, 4 * small)


if __name__ == "__main__":
    unittest.main()
