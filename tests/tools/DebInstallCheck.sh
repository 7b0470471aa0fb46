#!/usr/bin/env bash
# CI, as root: installs the .deb made by `cmake --workflow --preset package`
# with dpkg, builds the outside consumers against it (examples/ through
# find_package, a program through pkg-config), runs the installed tqbase,
# and removes the package again to leave the machine as it was.
set -euo pipefail
cd "$(dirname "$0")/../.."

debs=(out/build/package/packages/tqbase_*.deb)
dpkg -i "${debs[0]}"
trap 'dpkg --purge tqbase >/dev/null' EXIT
dpkg -L tqbase | grep -E 'libTQBase\.so\.[0-9]+$|tqbase\.pc$|TQBaseConfig\.cmake$|bin/tqbase$'

work=out/build/deb-check
rm -rf "$work"
cmake -S examples -B "$work/examples" -G Ninja -DCMAKE_BUILD_TYPE=Release
grep '^TQBase_DIR:' "$work/examples/CMakeCache.txt"
cmake --build "$work/examples"
"$work/examples/tqbase_example"

c++ -std=c++17 tests/tools/consumer/main.cpp $(pkg-config --cflags --libs tqbase) \
  -o "$work/pkg-config-consumer"
"$work/pkg-config-consumer"

tqbase --version
tqbase gbk2utf8 tools/tqbase/sample/greeting.gbk.txt | tqbase md5
