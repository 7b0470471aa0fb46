#!/usr/bin/env bash
# Runs every libFuzzer program of a `fuzz` build for a fixed time each, on a
# temporary copy of its checked-in corpus (so the tree stays as it is), and
# fails on the first finding. Findings (crash-*, leak-*, timeout-*) are kept
# in out/fuzz-findings/<Name>/.
#   fuzz/run-fuzzers.sh [build dir] [seconds per harness] [extra libFuzzer flags...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/out/build/fuzz}"
seconds="${2:-20}"
shift $(($# < 2 ? $# : 2))

shopt -s nullglob
programs=("$build"/fuzz/tqbase_fuzz_*)
if ((${#programs[@]} == 0)); then
  echo "no fuzz programs in $build/fuzz (configure with the fuzz preset)" >&2
  exit 1
fi

declare -A dicts=(
  [ByteArrayTextForms]=base64 [Base64Codec]=base64 [JsonMask]=json
  [Utf8]=utf8 [Gbk]=utf8 [NumberParse]=numbers
)

status=0
for program in "${programs[@]}"; do
  name="${program##*/tqbase_fuzz_}"
  work="$(mktemp -d)"
  findings="$root/out/fuzz-findings/$name"
  mkdir -p "$findings"
  cp "$root/fuzz/corpus/$name/"* "$work/"
  flags=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048
         -max_len=4096 -print_final_stats=1 -artifact_prefix="$findings/")
  if [[ -n "${dicts[$name]:-}" ]]; then
    flags+=(-dict="$root/fuzz/dict/${dicts[$name]}.dict")
  fi
  echo "== fuzz $name (${seconds}s)"
  if ! "$program" "${flags[@]}" "$@" "$work" 2>"$work.log"; then
    tail -n 40 "$work.log" >&2
    echo "FINDING in $name: see $findings" >&2
    status=1
  else
    grep -E 'stat::number_of_executed_units|Done [0-9]+ runs' "$work.log" || true
  fi
  rm -rf "$work" "$work.log"
done
exit $status
