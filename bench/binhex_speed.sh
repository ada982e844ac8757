#!/usr/bin/env bash
# BinHex decoding speed of Ferrox next to macutils' hexbin, in the same run on
# the same file: a MacBinary file of real text (the project's own sources and
# help, repeated) and generated binary, hexified by macutils' binhex.
# Prints MB/s of BinHex text read, best of the runs, and checks that both
# decoders wrote the same forks.
# Usage: bench/binhex_speed.sh [work folder] [size in MiB] [runs]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-/tmp/ferrox-bench-binhex}
size=${2:-100}
runs=${3:-3}
"$root/scripts/install-deps.sh"
FERROX_BUILD_DIR=$root/build-bench FERROX_BUILD_TYPE=Release \
  "$root/scripts/build.sh" -DFERROX_BENCH=ON -DFERROX_TESTS=OFF -DFERROX_GUI=OFF >/dev/null
decode=$root/build-bench/bench/binhex_decode
mkdir -p "$work"

# Data fork: half text, half binary with runs; resource fork: 1 MiB binary.
python3 - "$root" "$work/in.bin" "$size" <<'PY'
import os, random, struct, sys
root, out, mib = sys.argv[1], sys.argv[2], int(sys.argv[3])
text = b"".join(open(os.path.join(d, f), "rb").read()
                for d, _, fs in os.walk(root + "/help") for f in fs)
text += b"".join(open(os.path.join(root, "analysis", f), "rb").read() for f in sorted(os.listdir(root + "/analysis")))
rng = random.Random(14)
half = mib * 1024 * 1024 // 2
data = (text * (half // len(text) + 1))[:half]
block = bytes(rng.getrandbits(8) for _ in range(1 << 16)) + bytes(4096) + b"\x90" * 300
data += (block * (half // len(block) + 1))[:half]
rsrc = (block * 20)[:1 << 20]
h = bytearray(128)
name = b"BenchFile"
h[1] = len(name); h[2:2 + len(name)] = name; h[65:73] = b"TEXTttxt"
struct.pack_into(">II", h, 83, len(data), len(rsrc))
pad = lambda b: b + bytes(-len(b) % 128)
open(out, "wb").write(bytes(h) + pad(data) + pad(rsrc))
PY
(cd "$work" && binhex in.bin > in.hqx)
mb=$(python3 -c "import os,sys; print(os.path.getsize(sys.argv[1]) / 1e6)" "$work/in.hqx")

best() {  # best wall time in ms of running "$@" in a fresh folder, $runs times
  local folder=$1; shift
  local b=0
  for _ in $(seq "$runs"); do
    rm -rf "$folder"; mkdir -p "$folder"
    local start=$(date +%s%N)
    (cd "$folder" && "$@" >/dev/null)
    local t=$(( ($(date +%s%N) - start) / 1000000 ))
    if [ "$b" -eq 0 ] || [ "$t" -lt "$b" ]; then b=$t; fi
  done
  echo "$b"
}
theirs=$(best "$work/hexbin" hexbin -3 "$work/in.hqx")
ours=$(best "$work/ferrox" "$decode" "$work/in.hqx")
cmp "$work/hexbin/BenchFile.data" "$work/ferrox/BenchFile.data"
cmp "$work/hexbin/BenchFile.rsrc" "$work/ferrox/BenchFile.rsrc"
printf '%-22s %8s %10s %8s\n' "BinHex decoder" "MB" "ms (best)" "MB/s"
for row in "hexbin -3:$theirs" "ferrox binhex_decode:$ours"; do
  ms=${row##*:}
  printf '%-22s %8.1f %10d %8.1f\n' "${row%%:*}" "$mb" "$ms" "$(python3 -c "print($mb / max($ms, 1) * 1000)")"
done
