#!/usr/bin/env python3
"""Builds the survey corpus: real Japanese text from Debian's manpages-ja and
manpages-ja-dev, each page in UTF-8, EUC-JP, Shift JIS and ISO-2022-JP, and
short texts cut from it. bench/survey_corpus.sh runs it and counts the calls.

Layout of OUT:
  pages/{utf8,euc,sjis,jis}/NNNN.txt  pages of 64 bytes to 100 KB in every code
  short/{utf8,euc,sjis,jis}/NNNN.txt  20 to 64 bytes in every legacy code
  cut64/euc/NNNN.txt                  64 bytes of each EUC-JP page from its first Japanese line
  kana/euc/NNNN.txt                   kana-only EUC-JP lines
  hwkana/sjis/NNNN.txt                pages with half-width katakana, Shift JIS

Usage: make_survey_corpus.py DEB_TREE OUT
DEB_TREE is a folder where the .deb files were unpacked (dpkg-deb -x).
"""

import gzip
import pathlib
import random
import sys
import unicodedata

CODES = {"euc": "euc_jp", "sjis": "cp932", "jis": "iso2022_jp"}
KANA = [
    "カタカナだけのテキスト\nカタカナだけのテキスト\n",
    "ひらがなとカタカナ\n",
    "ですます\n",
    "テスト\n",
    "これはペンです。\nそれはノートです。\n",
    "ファイルをコピーします\n",
]


def half_width_table():
    """Full-width katakana (and ー 、。「」・) to the half-width forms CP932 has."""
    table = {}
    for cp in range(0xFF61, 0xFFA0):
        half = chr(cp)
        table.setdefault(unicodedata.normalize("NFKC", half), half)
    for cp in range(0xFF76, 0xFF9E):  # voiced and semi-voiced: ｶﾞ, ﾊﾟ
        for mark in "\uff9e\uff9f":
            full = unicodedata.normalize("NFKC", chr(cp) + mark)
            if len(full) == 1:
                table.setdefault(full, chr(cp) + mark)
    return table


HALF = half_width_table()


def half_width(text):
    return "".join(HALF.get(c, c) for c in text)


def encodings(text):
    out = {"utf8": text.encode("utf-8")}
    for name, codec in CODES.items():
        try:
            out[name] = text.encode(codec)
        except UnicodeEncodeError:
            return None
    return out


def write(root, group, code, index, data):
    folder = root / group / code
    folder.mkdir(parents=True, exist_ok=True)
    (folder / f"{index:04d}.txt").write_bytes(data)


def main():
    tree, out = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    rng = random.Random(15)
    pages = 0
    shorts = 0
    for path in sorted(tree.rglob("*.gz")):
        if "/man/ja" not in str(path):
            continue
        try:
            text = gzip.decompress(path.read_bytes()).decode("utf-8")
        except (UnicodeDecodeError, OSError):
            continue
        if all(ord(c) < 0x80 for c in text):
            continue
        coded = encodings(text)
        if coded is None or not all(64 <= len(b) <= 100_000 for b in coded.values()):
            continue
        for code, data in coded.items():
            write(out, "pages", code, pages, data)
        # Old PC text: the katakana in half-width forms, Shift JIS only.
        hw = half_width(text).encode("cp932")
        if hw != coded["sjis"] and len(hw) >= 64:
            write(out, "hwkana", "sjis", pages, hw)
        # 64 bytes of EUC-JP from the first line that holds Japanese.
        first = next(l for l in text.splitlines(True) if any(ord(c) >= 0x80 for c in l))
        write(out, "cut64", "euc", pages, coded["euc"][coded["euc"].find(first.encode("euc_jp")):][:64])
        # A short text: a stretch of one line that holds Japanese.
        lines = [l for l in text.splitlines() if any(ord(c) >= 0x3000 for c in l)]
        for _ in range(20):
            if not lines:
                break
            line = rng.choice(lines)
            start = rng.randrange(len(line))
            for length in range(10, 64):
                piece = line[start:start + length]
                sized = encodings(piece)
                if sized and all(20 <= len(b) <= 64 for b in sized.values()) and \
                        any(ord(c) >= 0x80 for c in piece):
                    for code, data in sized.items():
                        write(out, "short", code, shorts, data)
                    shorts += 1
                    break
            else:
                continue
            break
        pages += 1
    for index, text in enumerate(KANA):
        write(out, "kana", "euc", index, text.encode("euc_jp"))
    print(f"{pages} pages, {shorts} short texts, {len(KANA)} kana-only texts", file=sys.stderr)


if __name__ == "__main__":
    main()
