# Sourced by the benchmark scripts. best_of RUNS OUT COMMAND: the best
# wall-clock nanoseconds of RUNS runs of a shell command, OUT removed and the
# disk synced before each run so that no run pays for an earlier one's writes.
best_of() {
  local runs=$1 out=$2 best=0 t start
  for _ in $(seq "$runs"); do
    rm -f "$out"
    sync
    start=$(date +%s%N)
    bash -c "$3"
    t=$(( $(date +%s%N) - start ))
    if [ "$best" -eq 0 ] || [ "$t" -lt "$best" ]; then best=$t; fi
  done
  echo "$best"
}
