#!/usr/bin/env bash
# Runs tqbase on fixtures and on bad input, one group of cases per call, and
# compares standard output, standard error and the exit status with what is
# expected. Where the system's md5sum or base64 answers the same question,
# its answer is the expectation.
#   TqbaseCases.sh TQBASE SOURCE_DIR WORK_DIR GROUP VERSION
set -u
tqbase=$1 source=$2 work=$3 group=$4 version=$5
gbk=$source/tools/tqbase/sample/greeting.gbk.txt
utf8=$source/tests/tools/data/greeting.utf8.txt
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 2
failures=0

# run LABEL STATUS STDOUT STDERR ARG...: STDOUT and STDERR are printf %b
# strings, or @FILE for a file's bytes. Standard input is $input (default:
# nothing).
run() {
  local label=$1 status=$2 out=$3 err=$4
  shift 4
  "$tqbase" "$@" <"${input:-/dev/null}" >actual.out 2>actual.err
  local got=$?
  expect "$out" expected.out
  expect "$err" expected.err
  if [[ $got != "$status" ]] || ! cmp -s expected.out actual.out ||
    ! cmp -s expected.err actual.err; then
    echo "FAIL $label: tqbase $*"
    echo "  exit status $got, expected $status"
    cmp -s expected.out actual.out ||
      diff <(od -An -c expected.out) <(od -An -c actual.out) | sed 's/^/  out /'
    cmp -s expected.err actual.err || diff expected.err actual.err | sed 's/^/  err /'
    failures=$((failures + 1))
  fi
}

expect() {
  if [[ $1 == @* ]]; then cp "${1#@}" "$2"; else printf '%b' "$1" >"$2"; fi
}

# feed BYTES: makes the printf %b string BYTES the next standard input.
feed() {
  printf '%b' "$1" >input.txt
  input=input.txt
}

case $group in
md5)
  # md5sum is the oracle, weird names and standard input included; 3000
  # bytes take three chunks of the stream reader, 1 MB many.
  printf 'abc' >abc
  : >empty
  yes 'TQBase streams its input' | head -c 3000 >chunks
  yes 'TQBase streams its input' | head -c 1000000 >large
  printf 'x' >'back\slash'
  printf 'y' >$'line\nfeed'
  files=(abc empty chunks large "$gbk" 'back\slash' $'line\nfeed' -)
  md5sum "${files[@]}" <abc >sums
  input=abc run sums 0 @sums '' md5 "${files[@]}"
  input=abc run stdin 0 "900150983cd24fb0d6963f7d28e17f72  -\n" '' md5
  run missing 2 "d41d8cd98f00b204e9800998ecf8427e  empty\n" \
    'tqbase: missing: No such file or directory\n' md5 missing empty
  mkdir dir
  run directory 2 '' 'tqbase: dir: Is a directory\n' md5 dir
  run read-error 2 '' 'tqbase: /proc/self/mem: Input/output error\n' \
    md5 /proc/self/mem

  # --check against md5sum -c: good, mismatched, unreadable, malformed,
  # upper-case, escaped and commented lines.
  md5sum abc 'back\slash' $'line\nfeed' >list
  {
    echo '# a comment'
    echo 'not a digest line'
    echo '900150983CD24FB0D6963F7D28E17F72 *abc'
    echo 'd41d8cd98f00b204e9800998ecf8427e  abc'
    echo 'd41d8cd98f00b204e9800998ecf8427e  gone'
    echo 'd41d8cd98f00b204e9800998ecf8427e  dir'
  } >>list
  md5sum -c list >check.out 2>check.err
  sed 's/^md5sum:/tqbase:/' check.err >check.tqbase.err
  run check 1 @check.out @check.tqbase.err md5 --check list
  md5sum abc "$gbk" >good
  run check-good 0 "abc: OK\n$gbk: OK\n" '' md5 -c good
  printf 'junk\n' >junk
  run check-none 1 '' \
    'tqbase: junk: no properly formatted checksum lines found\n' md5 -c junk
  run check-unreadable 2 '' 'tqbase: nolist: No such file or directory\n' \
    md5 --check nolist
  ;;

base64)
  # The system's base64 is the oracle for encoding; decoding follows the
  # library's skipping rules and names what it skipped.
  for n in 0 1 2 3 4 5 100; do
    head -c $n "$gbk" >src$n
    base64 -w0 src$n >b64
    [[ $n == 0 ]] || echo >>b64
    run "encode $n" 0 @b64 '' base64 src$n
  done
  base64 "$gbk" >wrapped
  run round-trip 0 "@$gbk" '' base64 -d wrapped
  feed '\xfb\xff\xfe\xfb\xff'
  run standard 0 '+//++/8=\n' '' base64
  run url 0 '-__--_8=\n' '' base64 --url
  feed '-__-'
  run url-decode 0 '\xfb\xff\xfe' '' base64 -d --url -
  run url-in-standard 1 '' \
    'tqbase: standard input: skipped 4 characters that are not Base64, the first at byte offset 0\n' \
    base64 -d
  feed 'QQ==QQ==\n'
  run padding-inside 0 '\x41\x04\x10' '' base64 --decode
  feed 'QU!JD*'
  run invalid 1 'ABC' \
    'tqbase: standard input: skipped 2 characters that are not Base64, the first at byte offset 2\n' \
    base64 -d
  ;;

hex)
  feed '\x00\xff\x9a\xa0'
  run encode 0 '00FF9AA0\n' '' hex
  run encode-empty 0 '' '' hex /dev/null
  feed 'AbCd\r\n'
  run decode 0 '\xab\xcd' '' hex -d
  feed '414'
  run odd 1 'A' \
    'tqbase: standard input: odd number of hexadecimal digits, the last one ignored\n' \
    hex -d
  feed 'zz 1\n'
  run not-hex 1 '\x53\x01' \
    'tqbase: standard input: no hexadecimal digit at byte offset 0, decoded as it stands\n' \
    hex -d
  ;;

percent)
  feed 'a/b-c.d_e~fZ09'
  run unreserved 0 'a/b-c.d_e~fZ09\n' '' percent
  feed 'a b%?=&\x00\xff\n'
  run escaped 0 'a%20b%25%3F%3D%26%00%FF%0A\n' '' percent
  ;;

encodings)
  run gbk2utf8 0 "@$utf8" '' gbk2utf8 "$gbk"
  run utf82gbk 0 "@$gbk" '' utf82gbk "$utf8"
  run empty 0 '' '' gbk2utf8 -
  feed 'ab\xd6\xd0\xd6'
  run truncated-gbk 1 '' \
    'tqbase: standard input: ends inside a GBK character at byte offset 4 (0xD6)\n' \
    gbk2utf8
  # The bad pair lies far behind the first piece that the search tries.
  copies=()
  for _ in $(seq 400); do copies+=("$gbk"); done
  cat "${copies[@]}" >long.gbk
  offset=$(stat -c %s long.gbk)
  printf 'ab\x81\x7fcd' >>long.gbk
  run bad-gbk 1 '' \
    "tqbase: long.gbk: not GBK at byte offset $((offset + 2)) (0x81 0x7F)\n" \
    gbk2utf8 long.gbk
  feed 'a\xc3'
  run truncated-utf8 1 '' \
    'tqbase: standard input: ends inside a UTF-8 character at byte offset 1 (0xC3)\n' \
    utf82gbk
  feed 'a\xc3\x41'
  run bad-continuation 1 '' \
    'tqbase: standard input: not UTF-8 at byte offset 1 (0xC3)\n' utf82gbk
  feed 'ab\xf4\x90\x80\x80'
  run above-10ffff 1 '' \
    'tqbase: standard input: not UTF-8 at byte offset 2 (0xF4 0x90 0x80 0x80)\n' \
    utf82gbk
  feed '\xef\xbb\xbfa'
  run bom 1 '' \
    'tqbase: standard input: U+FEFF at byte offset 0 has no GBK form\n' utf82gbk
  # A 4-byte form keeps its low 16 bits: U+1F600 arrives as U+F600.
  feed '\xe4\xb8\xad\xf0\x9f\x98\x80'
  run astral 1 '' \
    'tqbase: standard input: U+F600 at byte offset 3 has no GBK form\n' utf82gbk
  ;;

isutf8)
  printf '\xef\xbb\xbfBOM' >bom
  printf 'ab\xe4' >cut
  printf '\xf0\x9f\x98\x80' >four
  run utf8 0 "$utf8: utf-8\nbom: utf-8 with BOM\ncut: utf-8\n" '' \
    isutf8 "$utf8" bom cut
  run not-utf8 1 "$gbk: not utf-8\nfour: not utf-8\nbom: utf-8 with BOM\n" '' \
    isutf8 "$gbk" four bom
  mkdir dir
  run unreadable 2 "four: not utf-8\n" \
    'tqbase: dir: Is a directory\ntqbase: missing: No such file or directory\n' \
    isutf8 dir four missing
  ;;

mask-json)
  feed '{"user":"bob","password":"abc123","age":30}'
  run password 0 '{"user":"bob","password":********,"age":30}' '' \
    mask-json --key password
  feed '{"Token":"abc","x":1}'
  run char 0 '{"Token":#####,"x":1}' '' mask-json --key=token --char '#'
  feed '{"b":"a:1,","a":2}'
  run key-order 0 '{"b":****,","a":*}' '' mask-json --key b --key a
  run no-key 2 '' \
    "tqbase: mask-json: at least one --key is needed\nTry 'tqbase mask-json --help'.\n" \
    mask-json
  run long-char 2 '' \
    "tqbase: mask-json: --char takes exactly one byte, not 'ab'\nTry 'tqbase mask-json --help'.\n" \
    mask-json --key k --char ab
  run no-value 2 '' \
    "tqbase: mask-json: option '--key' needs a value\nTry 'tqbase mask-json --help'.\n" \
    mask-json --key
  ;;

conventions)
  "$tqbase" --help >help.out 2>&1 && grep -q '^Usage: tqbase COMMAND' help.out ||
    { echo "FAIL --help"; failures=$((failures + 1)); }
  run version 0 "tqbase (TQBase) $version\n" '' --version
  "$tqbase" >/dev/null 2>usage.err
  [[ $? == 2 ]] && grep -q '^Usage:' usage.err ||
    { echo "FAIL no command"; failures=$((failures + 1)); }
  run unknown 2 '' "tqbase: unknown command 'frob'\nTry 'tqbase --help'.\n" frob
  run option 2 '' \
    "tqbase: hex: unknown option '--url'\nTry 'tqbase hex --help'.\n" hex --url
  run flag-value 2 '' \
    "tqbase: hex: option '--decode' takes no value\nTry 'tqbase hex --help'.\n" \
    hex --decode=yes
  run operand 2 '' \
    "tqbase: percent: extra operand 'b'\nTry 'tqbase percent --help'.\n" percent a b
  printf 'A' >-x
  run dashdash 0 '41\n' '' hex -- -x
  mkdir dir
  # Every command: its help, and the same refusals for inputs it cannot read.
  for command in md5 base64 hex percent gbk2utf8 utf82gbk isutf8 mask-json; do
    "$tqbase" $command --help >help.out 2>&1 &&
      grep -q "^Usage: tqbase $command " help.out ||
      { echo "FAIL $command --help"; failures=$((failures + 1)); }
    args=($command)
    [[ $command == mask-json ]] && args+=(--key k)
    run "$command missing" 2 '' 'tqbase: missing: No such file or directory\n' \
      "${args[@]}" missing
    run "$command directory" 2 '' 'tqbase: dir: Is a directory\n' "${args[@]}" dir
  done
  run read-error 2 '' 'tqbase: /proc/self/mem: Input/output error\n' \
    hex /proc/self/mem
  # Too large for the library's int sizes: refused before reading (a sparse
  # file costs nothing).
  truncate -s 1073741824 big
  run hex-limit 2 '' \
    'tqbase: big: too large: hex takes at most 1073741823 bytes\n' hex big
  run percent-limit 2 '' \
    'tqbase: big: too large: percent takes at most 715826517 bytes\n' percent big
  truncate -s 2147479552 big
  run whole-limit 2 '' \
    'tqbase: big: too large: isutf8 takes at most 2147479551 bytes\n' isutf8 big
  rm -f big
  "$tqbase" hex "$gbk" >/dev/full 2>actual.err
  [[ $? == 2 ]] && [[ $(<actual.err) == 'tqbase: standard output: No space left on device' ]] ||
    { echo "FAIL write error"; failures=$((failures + 1)); }
  ;;

*)
  echo "unknown group $group"
  exit 2
  ;;
esac

((failures == 0)) || { echo "$failures failed in $group"; exit 1; }
echo "$group: all cases passed"
