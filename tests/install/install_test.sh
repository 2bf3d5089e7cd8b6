#!/usr/bin/env bash
# Installs the build into a temporary prefix, builds the two examples against it
# (C++ with find_package, C with pkg-config), runs them and finds their lines in
# their log files. Usage: install_test.sh BUILD_DIR SOURCE_DIR; a BUILD_DIR of "-"
# takes what the Debian packages installed under /usr instead.
set -euo pipefail
src=$(cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if [ "$1" = - ]; then
  prefix=/usr
else
  prefix=$work/prefix
  cmake --install "$1" --prefix "$prefix" >/dev/null
fi
# Only what applications need: the header, no sources of the engine.
test -f "$prefix/include/qdlog/qdlog.h"
test ! -e "$prefix/include/qdlog/logcontext.h"
libdir=$(dirname "$(find "$prefix/lib" -name 'libqdlog_9d.so.*.*' | head -1)")
readelf -d "$libdir/libqdlog_9d.so" | grep -q 'SONAME.*libqdlog_9d\.so\.[0-9]'

cmake -S "$src/examples/cpp-cmake" -B "$work/cpp" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cpp" >/dev/null
file=$("$work/cpp/hello_cpp" "$work/logs-cpp")
grep -q "hello from C++, program hello_cpp" "$file"
grep -q "宽字符: 你好" "$file"

mkdir "$work/c"
(cd "$work/c" && PKG_CONFIG_PATH="$libdir/pkgconfig" make -s -f "$src/examples/c-pkgconfig/Makefile")
file=$(LD_LIBRARY_PATH="$libdir" "$work/c/hello_c" "$work/logs-c")
grep -q "hello from C, 2 lines" "$file"
grep -q "a warning from C" "$file"
case "$file" in "$work/logs-c/log"*.log) ;; *) echo "unexpected path $file" >&2; exit 1 ;; esac
