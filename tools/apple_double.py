#!/usr/bin/env python3
"""AppleSingle/AppleDouble version 2 files, written and read to the published
layout independently of Ferrox, for its tests.

  apple_double.py single OUT [--name N] [--type T --creator C] [--dates CREATE MODIFY]
                             [--data FILE] [--rsrc FILE] [--macos]
  apple_double.py double OUT ... (as single; --data is not allowed)
  apple_double.py zip OUT.zip FOLDER/NAME DATAFILE SIDECAR   (a zip as macOS makes it:
                             FOLDER/NAME and __MACOSX/FOLDER/._NAME)
  apple_double.py unzip ZIP DEST
  apple_double.py read FILE      (prints type, creator, and writes FILE.rsrc with the fork)

--macos writes what macOS writes: the "Mac OS X" filler and a Finder info entry
padded to 3,810 bytes with an empty extended-attribute block after the 32 bytes."""
import argparse
import struct
import sys
import zipfile

MAGIC = {"single": 0x00051600, "double": 0x00051607}


def build(kind, args):
    entries = []
    if args.name is not None:
        entries.append((3, args.name.encode(args.name_encoding)))
    if args.dates:
        entries.append((8, struct.pack(">iiii", args.dates[0], args.dates[1], -0x80000000, args.dates[1])))
    if args.type or args.creator:
        finder = (args.type or "").ljust(4).encode() + (args.creator or "").ljust(4).encode() + bytes(24)
        if args.macos:
            finder += bytes(2) + b"ATTR" + bytes(3810 - 32 - 6)
        entries.append((9, finder))
    if args.rsrc:
        entries.append((2, open(args.rsrc, "rb").read()))
    if args.data:
        entries.append((1, open(args.data, "rb").read()))
    filler = b"Mac OS X        " if args.macos else bytes(16)
    return pack(MAGIC[kind], entries, filler)


def pack(magic, entries, filler=bytes(16)):
    """The header, the entry table and the entries' bytes, in the given order."""
    head = struct.pack(">II16sH", magic, 0x00020000, filler, len(entries))
    offset = len(head) + 12 * len(entries)
    table, body = b"", b""
    for eid, payload in entries:
        table += struct.pack(">III", eid, offset + len(body), len(payload))
        body += payload
    return head + table + body


def read(path):
    blob = open(path, "rb").read()
    magic, version, _, count = struct.unpack(">II16sH", blob[:26])
    assert magic in MAGIC.values() and version == 0x00020000, "not AppleSingle/AppleDouble v2"
    out = {}
    for i in range(count):
        eid, off, length = struct.unpack(">III", blob[26 + 12 * i:38 + 12 * i])
        assert off + length <= len(blob), "entry past the end"
        out[eid] = blob[off:off + length]
    finder = out.get(9, bytes(32))
    print(finder[:4].decode("latin-1"), finder[4:8].decode("latin-1"))
    open(path + ".rsrc", "wb").write(out.get(2, b""))


def main():
    p = argparse.ArgumentParser()
    p.add_argument("command")
    p.add_argument("paths", nargs="*")
    p.add_argument("--name")
    p.add_argument("--name-encoding", default="utf-8")
    p.add_argument("--type")
    p.add_argument("--creator")
    p.add_argument("--dates", nargs=2, type=int)
    p.add_argument("--data")
    p.add_argument("--rsrc")
    p.add_argument("--macos", action="store_true")
    args = p.parse_args()
    if args.command in MAGIC:
        open(args.paths[0], "wb").write(build(args.command, args))
    elif args.command == "zip":
        out, member, data, sidecar = args.paths
        folder, _, name = member.rpartition("/")
        with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as z:
            z.write(data, member)
            z.write(sidecar, "__MACOSX/" + (folder + "/" if folder else "") + "._" + name)
    elif args.command == "unzip":
        zipfile.ZipFile(args.paths[0]).extractall(args.paths[1])
    elif args.command == "read":
        read(args.paths[0])
    else:
        sys.exit("unknown command " + args.command)


if __name__ == "__main__":
    main()
