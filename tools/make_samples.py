#!/usr/bin/env python3
"""Writes the bundled sample files of Ferrox into a folder (default: samples/).

Every byte is made here, from texts written for these samples: a MacBinary
file holding Japanese text with CR line ends under a Japanese Mac name,
EUC-JP and ISO-2022-JP text with LF, Shift JIS with mixed line ends, a binary
file and a nested folder. The output is the same on every run.
"""

import struct
import sys
from pathlib import Path

MEMO = [
    "打ち合わせメモ",
    "",
    "日時：４月１２日（金）午後２時から",
    "場所：第二会議室",
    "議題：新しい変換ツールの試験について",
    "・Macintosh で作った文書を Windows で読めるようにする",
    "・半角ｶﾀｶﾅと全角カタカナが混ざっていても崩れないこと",
    "以上",
]

TRAVEL = [
    "旅の記録",
    "朝早く駅を出て、海沿いの町まで各駅停車で向かった。",
    "車窓から見える田んぼは、まだ水を張ったばかりだった。",
    "昼は港の食堂で焼き魚の定食を食べた。",
]

RECIPE = [
    "おにぎりの作り方",
    "1. ご飯を炊いて少し冷ます。",
    "2. 手に塩をつけ、具を入れて三角に握る。",
    "3. 海苔を巻いてできあがり。",
]

NOTICE = [
    "お知らせ",
    "来週の月曜日は設備点検のため、午前中は建物に入れません。",
    "ご不便をおかけしますが、よろしくお願いします。",
]

HAIKU = [
    "季節の言葉",
    "春：桜、菜の花、うぐいす",
    "夏：夕立、風鈴、せみ時雨",
    "秋：紅葉、すすき、月見",
    "冬：木枯らし、こたつ、初雪",
]

# Seconds from 1904-01-01 to 2001-04-12 12:30:00 and 2001-04-13 18:05:20.
MAC_CREATED = 3069923400
MAC_MODIFIED = 3070029920


def crc16_xmodem(data: bytes) -> int:
    crc = 0
    for byte in data:
        crc ^= byte << 8
        for _ in range(8):
            crc = ((crc << 1) ^ 0x1021) if crc & 0x8000 else crc << 1
            crc &= 0xFFFF
    return crc


def pad128(data: bytes) -> bytes:
    return data + bytes(-len(data) % 128)


def macbinary(name: str, file_type: bytes, creator: bytes, data: bytes, resource: bytes) -> bytes:
    """A MacBinary II file: 128-byte header, data fork, resource fork."""
    raw_name = name.encode("cp932")
    assert 1 <= len(raw_name) <= 31
    header = bytearray(128)
    header[1] = len(raw_name)
    header[2:2 + len(raw_name)] = raw_name
    header[65:69] = file_type
    header[69:73] = creator
    struct.pack_into(">I", header, 83, len(data))
    struct.pack_into(">I", header, 87, len(resource))
    struct.pack_into(">I", header, 91, MAC_CREATED)
    struct.pack_into(">I", header, 95, MAC_MODIFIED)
    header[122] = 129  # written by MacBinary II
    header[123] = 129  # readable by MacBinary II
    struct.pack_into(">H", header, 124, crc16_xmodem(bytes(header[:124])))
    return bytes(header) + pad128(data) + pad128(resource)


def text(lines, codec: str, ends) -> bytes:
    """Encodes lines, giving line i the end ends[i % len(ends)]."""
    out = b""
    for i, line in enumerate(lines):
        out += line.encode(codec) + ends[i % len(ends)]
    return out


def binary_bytes() -> bytes:
    # A small made-up image-like file: a header, then a byte ramp and a
    # pseudo-random tail from a fixed linear congruential generator.
    out = bytearray(b"FRXB\x00\x01\x00\x00")
    out += bytes(range(256)) * 4
    state = 12345
    for _ in range(2048):
        state = (state * 1103515245 + 12345) & 0x7FFFFFFF
        out.append(state >> 16 & 0xFF)
    return bytes(out)


def main() -> int:
    root = Path(sys.argv[1] if len(sys.argv) > 1 else "samples")
    files = {
        "mac/memo.bin": macbinary("打ち合わせメモ", b"TEXT", b"ttxt",
                                  text(MEMO, "cp932", [b"\r"]), b"\x00\x00\x01\x00resource"),
        "euc-lf.txt": text(TRAVEL, "euc_jp", [b"\n"]),
        "jis-lf.txt": text(RECIPE, "iso2022_jp", [b"\n"]),
        "sjis-mixed.txt": text(NOTICE + HAIKU, "cp932", [b"\r\n", b"\n", b"\r"]),
        "binary.dat": binary_bytes(),
        "nested/level1/notes-sjis.txt": text(HAIKU, "cp932", [b"\r\n"]),
        "nested/level1/level2/readme-euc.txt": text(NOTICE, "euc_jp", [b"\n"]),
        "nested/level1/level2/ascii.txt": b"plain ASCII text\nwith Unix line ends\n",
    }
    for relative, data in files.items():
        path = root / relative
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
    return 0


if __name__ == "__main__":
    sys.exit(main())
