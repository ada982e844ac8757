#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets: one folder per target under the
given folder. Seeds are small inputs of the project's own making that reach the
interesting paths quickly (every code, every line end, escapes, gaiji)."""
import os
import struct
import sys

import apple_double

TEXT = "ファイルの変換を始めます。半角ｶﾀｶﾅと全角カタカナ、漢字とASCII。\n二行目です。①②③\n"


def enc(text, codec, newline="\n"):
    return text.replace("\n", newline).encode(codec, errors="replace")


def text_seeds():
    seeds = {
        "sjis_crlf": enc(TEXT, "cp932", "\r\n"),
        "sjis_cr": enc(TEXT, "cp932", "\r"),
        "euc_lf": enc(TEXT.replace("①②③", ""), "euc_jp"),
        "jis_lf": enc(TEXT.replace("①②③", "").replace("ｶﾀｶﾅ", "カタカナ"), "iso2022_jp"),
        "jis_kana_so": b"abc\x0e\x31\x32\x0fdef\r\n\x1b(I12\x1b(Bxyz\n",
        "mixed_ends": b"a\rb\nc\r\nd\r\r\n\x1a",
        "gaiji_sjis": b"\x87\x40\x88\x9d\x88\x9e\xeb\x40\xf0\x40\r\n",
        "gaiji_euc": b"\xa9\xa1\xf5\xa1\xb0\xa1\x8e\xb1\n",
        "tie": b"\xb0\xa1\xb0\xa1\xb0\xa1\xb0\xa1\r\n",
        "binary": bytes(range(256)),
        "cut_escape": b"x" * 8189 + b"\x1b$B0!\x1b(B\r\n",
    }
    return seeds


def macbinary_seed(name, ftype, creator, data, rsrc=b"", cdate=0xB0000000, mdate=0xB0000100):
    h = bytearray(128)
    h[1] = len(name)
    h[2:2 + len(name)] = name
    h[65:69] = ftype
    h[69:73] = creator
    h[83:87] = struct.pack(">I", len(data))
    h[87:91] = struct.pack(">I", len(rsrc))
    h[91:95] = struct.pack(">I", cdate)
    h[95:99] = struct.pack(">I", mdate)
    pad = lambda b: b + b"\0" * ((128 - len(b) % 128) % 128)
    return bytes(h) + pad(data) + rsrc


def binhex_seed(name, ftype, creator, data, rsrc=b""):
    import binascii
    def section(b):
        return b + struct.pack(">H", binascii.crc_hqx(b, 0))
    header = bytes([len(name)]) + name + b"\0" + ftype + creator + b"\0\0" + struct.pack(">II", len(data), len(rsrc))
    plain = section(header) + section(data) + section(rsrc)
    rle, i = bytearray(), 0
    while i < len(plain):
        n = 1
        while i + n < len(plain) and plain[i + n] == plain[i] and n < 255:
            n += 1
        rle.append(plain[i])
        if plain[i] == 0x90:
            rle.append(0)
            n = 1
        elif n >= 3:
            rle += bytes([0x90, n])
        else:
            n = 1
        i += n
    alphabet = b"!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr"
    bits = "".join(f"{b:08b}" for b in rle)
    bits += "0" * (-len(bits) % 6)
    body = bytes(alphabet[int(bits[i:i + 6], 2)] for i in range(0, len(bits), 6))
    body = b":" + body  # every line, the first with its colon, is 64 characters
    lines = b"\n".join(body[i:i + 64] for i in range(0, len(body), 64))
    return b"(This file must be converted with BinHex 4.0)\n" + lines + b":\n"


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else "seeds"
    corpora = {
        "fuzz_survey": text_seeds(),
        "fuzz_convert": text_seeds(),
        # Mode byte (converter, gaiji bits, base code, start state, table) and block size.
        "fuzz_fast_pass": {f"{name}_{mode:02x}": bytes([mode, 29]) + data
                           for name, data in text_seeds().items() for mode in (0x01, 0x1D, 0x79, 0x98)},
        "fuzz_macbinary": {
            "text": macbinary_seed("表ソ能.txt".encode("cp932"), b"TEXT", b"ttxt", enc(TEXT, "cp932", "\r")),
            "empty_data": macbinary_seed(b"a", b"APPL", b"????", b""),
            "rsrc_cut": macbinary_seed(b"r", b"PICT", b"8BIM", b"12345", b"R" * 300)[:300],
            "header_only": bytes(128),
        },
        "fuzz_binhex": {
            "text": binhex_seed("表示.txt".encode("cp932"), b"TEXT", b"ttxt", enc(TEXT, "cp932", "\r")),
            "runs": binhex_seed(b"r", b"BINA", b"????", b"\x90" * 300 + b"\0" * 500, b"R" * 70),
        },
        "fuzz_apple_single": {
            "single": apple_double.pack(0x51600, [(3, "メモ".encode()), (8, struct.pack(">iiii", 0, 86400, 0, 0)),
                                           (9, b"TEXTttxt" + bytes(24)), (1, b"data\r"), (2, b"rsrc")]),
            "double": apple_double.pack(0x51607, [(9, b"PDF CARO" + bytes(24)), (2, bytes(300))]),
        },
        "fuzz_suffix_table": {
            "basic": "/comment\r\ntxt\tTEXT\tttxt\t説明\r\n.doc\tW?BN\tMSWD\tWord\r\nPunct=,\r\njpg,JPEG,,\r\nlast,line".encode("cp932"),
            "five": b"a\tb\tc\td\te\r\n",
        },
        "fuzz_gaiji_table": {
            "basic": "/c\r\nCode=SJIS\r\n8740,(1)\r\nCode=euc\r\nADA1,①\r\nCode=JIS\r\n2D21,[1]\r\nPunct=\t\r\n8541\tabc\r\nDefault=\r\n".encode("cp932"),
            "bad": b"zz40,x\r\n87\r\n8740\r\n,,,\r\n",
        },
        "fuzz_entries": {
            "list": '"a b.txt", "c,d.txt" ,e.txt,'.encode(),
            "unterminated": b'  "abc, def',
            "paths": b"/a/b/../c.d/f\x00../x\x00./y.tar.gz\x00/\x00*.txt",
        },
    }
    for target, seeds in corpora.items():
        folder = os.path.join(out, target)
        os.makedirs(folder, exist_ok=True)
        for name, data in seeds.items():
            with open(os.path.join(folder, name), "wb") as f:
                f.write(data)


if __name__ == "__main__":
    main()
