#!/usr/bin/env bash
# Builds optimised and runs the benchmarks; every figure stands beside something timed in the same
# run, because machines are noisy: scripts/bench.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if [ "${1:-}" = --help ]; then
  echo "usage: scripts/bench.sh"
  exit 0
fi
mkdir -p build/bench
trap scripts/stop-wine.sh EXIT

build() {
  echo "building $*" >&2
  if ! scripts/build.sh "$@" >build/bench/build.log 2>&1; then
    tail -n 40 build/bench/build.log >&2
    exit 1
  fi
}

build native-release read_table change_table
build win64-long read_table change_table open_catalogue comment_file save_catalogue search_folders

/usr/bin/python3 bench/compare.py build/bench

echo
echo "== Opening the sample shop with 150, 1,500 and 15,000 definitions (under Wine)"
/usr/bin/python3 bench/scale_shop.py build/bench 150 1500 15000
windows_root="Z:${root//\//\\}\\build\\bench"
scripts/wine.sh build/win64/bench/open_catalogue.exe \
  "$windows_root\\150" "$windows_root\\1500" "$windows_root\\15000" | tr -d '\r'
cat <<'END'

open(ms)     opening, from Initialize to its return
profile      profile reads that opening makes; in prof: their share of the time
plain rd     share of reading the table and memo file once, plainly
bare(ms)     the same profile reads in a bare loop; plain(ms): the plain read
ratio        opening / (bare loop + plain read)
own(us/def)  opening without its profile reads, per definition; growth: beside the smallest folder
END

echo
echo "== Saving the sample shop with 150 and 1,500 definitions (under Wine)"
save_catalogue() { scripts/wine.sh build/win64/bench/save_catalogue.exe "$1\\150" "$1\\1500" | tr -d '\r'; }
save_catalogue "$windows_root"
memory=$(mktemp -d /dev/shm/tdefault-bench.XXXXXX 2>/dev/null || true)
if [ -n "$memory" ]; then
  cp -r build/bench/150 build/bench/1500 "$memory"
  echo "the same in a folder in memory"
  save_catalogue "Z:${memory//\//\\}" | tail -n +2
  rm -rf "$memory"
fi
cat <<'END'

save(ms)     all options, from Save to the event Modified
bare(ms)     the same profile writes in a bare loop; ratio: save / bare
files(ms)    copying both INI files and replacing the versions before, as plain calls of the system; most of it is
             the file system bringing a file to the disk before it replaces another; ratio: save / (bare + files)
END

echo
echo "== Writing comments into an INI file for 100, 1,000 and 10,000 definitions (under Wine)"
/usr/bin/python3 bench/scale_shop.py build/bench 100 1000 10000
scripts/wine.sh build/win64/bench/comment_file.exe \
  "$windows_root\\100" "$windows_root\\1000" "$windows_root\\10000" | tr -d '\r'
cat <<'END'

comment(ms)  CommentFile on a file without comments, with a definition for almost every key
clear(ms)    ClearIniComments on what that makes: the rewriting alone; ratio: comment / clear
us/key       commenting per key; growth: beside the smallest file, 1 or less where time grows with the keys
END

echo
echo "== Searching 2,000 and 20,000 folders with 20 files each (under Wine)"
/usr/bin/python3 bench/make_folders.py build/bench/folders/2000 2000
/usr/bin/python3 bench/make_folders.py build/bench/folders/20000 20000
scripts/wine.sh build/win64/bench/search_folders.exe \
  "$windows_root\\folders\\2000" "$windows_root\\folders\\20000" | tr -d '\r'
rm -r build/bench/folders
cat <<'END'

search(ms)   cFileSearch over the whole tree, each folder told; folders/s: in that time
dir(ms)      cmd /c dir /s /b over the same tree in the same run; ratio: search / dir
window(ms)   the same search in the dialog, from the click to the end; ratio: window / dir
answer(ms)   the longest that the dialog took to answer a message while it searched; 100 at most
peak(MB)     the most memory of the process so far: it grows with the depth of the folders
END
