#!/usr/bin/env python3
"""Writes data/MacGaiji.txt, the gaiji table for files from a Macintosh.

Mac Japanese puts characters of its own in the Shift JIS gaiji rows. Where
Windows CP932 has the same character the table maps the Mac code to the CP932
code (Mac 0x8540 "①" becomes 0x8740); otherwise it maps it to the fallback
text of the mapping file where there is one. Codes with neither are left out,
so they get the table's default replacement.

Usage: make_mac_gaiji.py MAC_TO_CP932.TSV [-o data/MacGaiji.txt]
The input is tab-separated with the columns mac_sjis_code, cp932_code and
cp932_fallback (codes written as 0x.. hex, fallbacks as space-separated codes).
"""

import argparse
import csv
import pathlib
import sys

HEADER = [
    "/ MacGaiji.txt: Macintosh の機種依存文字を Windows の文字に置き換える外字テーブル",
    "/ Windows に同じ文字があるものはその文字に、ないものは近い表記にします。",
    "/ 載っていない外字は既定の置換文字になります。",
    "/ tools/make_mac_gaiji.py が作成しました。",
]


def is_sjis_gaiji(code):
    """The Shift JIS gaiji rows: 0x85-0x87, 0x88 below 0x889E, 0xEB-0xFC."""
    lead, trail = code >> 8, code & 0xFF
    return 0x85 <= lead <= 0x87 or (lead == 0x88 and trail < 0x9E) or 0xEB <= lead <= 0xFC


def code_bytes(text):
    """'0x8163' -> b'\\x81\\x63'; '0x28 0x31 0x29' -> b'(1)'."""
    out = bytearray()
    for token in text.split():
        digits = token[2:] if token.lower().startswith("0x") else token
        if len(digits) not in (2, 4):
            raise ValueError(f"bad code {token!r}")
        out += bytes.fromhex(digits)
    return bytes(out)


def read_rows(path):
    with open(path, encoding="utf-8", newline="") as f:
        lines = [line for line in f if not line.startswith("#")]
    return list(csv.DictReader(lines, delimiter="\t"))


def table_lines(rows):
    """(code, replacement bytes) for every Mac gaiji that can be shown on Windows."""
    entries = {}
    for row in rows:
        mac = int(row["mac_sjis_code"], 16)
        if mac <= 0xFF or not is_sjis_gaiji(mac):
            continue
        if row["cp932_code"]:
            replacement = code_bytes(row["cp932_code"])
        elif row["cp932_fallback"]:
            replacement = code_bytes(row["cp932_fallback"])
        else:
            continue
        # The replacement must be CP932 text that the loader can take as is.
        replacement.decode("cp932")
        if b"," in replacement or b"\r" in replacement or b"\n" in replacement:
            raise ValueError(f"replacement of {mac:04X} holds a separator or line end")
        entries[mac] = replacement
    return sorted(entries.items())


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("tsv", type=pathlib.Path)
    root = pathlib.Path(__file__).resolve().parent.parent
    parser.add_argument("-o", "--output", type=pathlib.Path, default=root / "data" / "MacGaiji.txt")
    args = parser.parse_args()

    entries = table_lines(read_rows(args.tsv))
    out = bytearray()
    for line in HEADER + ["Code=SJIS", "Punct=,"]:
        out += line.encode("cp932") + b"\r\n"
    for code, replacement in entries:
        out += f"{code:04X},".encode("ascii") + replacement + b"\r\n"
    args.output.write_bytes(bytes(out))
    print(f"{args.output}: {len(entries)} codes", file=sys.stderr)


if __name__ == "__main__":
    main()
