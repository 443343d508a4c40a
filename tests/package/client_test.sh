#!/bin/bash
# usage: client_test.sh TREE PAGE FOLDER COMPILER -fsanitize=[SANITIZERS]
# Builds the first program of the page for writers of clients against what is installed in TREE, runs
# it against the service there, and compiles each installed header by itself.
set -euo pipefail
tree=$1 page=$2 folder=$3 compiler=$4 sanitize=${5#-fsanitize=}
rm -rf "$folder"
mkdir -p "$folder"

# code LANGUAGE: the first block of it on the page
code() {
    sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/{/^\`\`\`/!p; /^\`\`\`\$/q}" "$page"
}
code cmake >"$folder/CMakeLists.txt"
code cpp >"$folder/main.cpp"
cmake -S "$folder" -B "$folder/build" -D CMAKE_PREFIX_PATH="$tree" -D CMAKE_CXX_COMPILER="$compiler" \
    -D CMAKE_CXX_FLAGS="${sanitize:+-fsanitize=$sanitize}" >/dev/null
cmake --build "$folder/build" >/dev/null

XDG_RUNTIME_DIR=$(mktemp -d) # a socket's path has to be short
export XDG_RUNTIME_DIR XDG_DATA_HOME=$XDG_RUNTIME_DIR TAVUSRV_ENABLE_EMULATOR=1
"$tree/bin/tavusvc" noautoclose >/dev/null &
trap 'kill $!; rm -rf "$XDG_RUNTIME_DIR"' EXIT
until "$tree/bin/tavuctl" pair "A camera" >/dev/null 2>&1; do
    kill -0 $!
    sleep 0.05
done
"$tree/bin/tavuctl" configure 64x48 >/dev/null
"$tree/bin/tavuctl" record --frames 2 --name "A take" >/dev/null 2>&1
output=$("$folder/build/first_client")
echo "$output"
grep -Fqx '  A take: 2 frames, the first ends with pixel 3071' <<<"$output"

cd "$tree/include"
find tavu -name '*.h' -print0 |
    xargs -0 -P "$(nproc)" -I{} "$compiler" -std=c++20 -fsyntax-only -I . -include {} -x c++ /dev/null
