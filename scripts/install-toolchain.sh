#!/usr/bin/env bash
# Installs what building and testing SetupCLS needs on Debian 12 (amd64), as root:
# the i686 and x86_64 mingw-w64 cross compilers, CMake, GoogleTest's sources, Wine with its 32-bit
# PE half, LLVM's binary tools, the ja_JP.UTF-8 locale for code page 932 runs, and NSIS's makensis
# for the demo installer. Every step is skipped when what it installs is already there, so a re-run
# costs a few file tests.
set -euo pipefail

WINE_I386_DIR=/usr/lib/x86_64-linux-gnu/wine/i386-windows
need_apt=()

command -v i686-w64-mingw32-g++-posix >/dev/null || need_apt+=(g++-mingw-w64-i686-posix)
command -v i686-w64-mingw32-windres >/dev/null || need_apt+=(binutils-mingw-w64-i686)
command -v x86_64-w64-mingw32-g++-posix >/dev/null || need_apt+=(g++-mingw-w64-x86-64-posix)
command -v x86_64-w64-mingw32-windres >/dev/null || need_apt+=(binutils-mingw-w64-x86-64)
command -v cmake >/dev/null || need_apt+=(cmake)
# llvm-dlltool makes the import library for Microsoft's linker; llvm-readobj checks it.
command -v llvm-dlltool >/dev/null || need_apt+=(llvm)
command -v llvm-readobj >/dev/null || need_apt+=(llvm)
command -v ctest >/dev/null || need_apt+=(cmake)
[ -f /usr/src/googletest/CMakeLists.txt ] || need_apt+=(googletest)
command -v wine >/dev/null || need_apt+=(wine)
dpkg -s wine64 >/dev/null 2>&1 || need_apt+=(wine64)
command -v localedef >/dev/null || need_apt+=(locales)
command -v makensis >/dev/null || need_apt+=(nsis)

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

if [ ${#need_apt[@]} -gt 0 ]; then
  echo "== installing: ${need_apt[*]}"
  export DEBIAN_FRONTEND=noninteractive
  as_root apt-get update || true    # an index that fails to download is not fatal
  as_root apt-get install -y --no-install-recommends "${need_apt[@]}"
fi

# Wine's 64-bit build runs 32-bit programs in WoW64 mode once the 32-bit PE half is beside it.
# The i386 package cannot be installed whole here (multiarch versions clash), so only its
# PE files are unpacked into place.
if [ ! -f "$WINE_I386_DIR/kernel32.dll" ]; then
  echo "== adding Wine's 32-bit PE libraries"
  export DEBIAN_FRONTEND=noninteractive
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    as_root dpkg --add-architecture i386
  fi
  as_root apt-get update || true
  tmp=$(mktemp -d)
  (cd "$tmp" && apt-get download libwine:i386)
  dpkg -x "$tmp"/libwine_*_i386.deb "$tmp/x"
  as_root mkdir -p "$WINE_I386_DIR"
  as_root cp -a "$tmp/x/usr/lib/i386-linux-gnu/wine/i386-windows/." "$WINE_I386_DIR/"
  rm -rf "$tmp"
fi

if ! locale -a 2>/dev/null | grep -qi '^ja_JP\.utf-\?8$'; then
  echo "== generating the ja_JP.UTF-8 locale (code page 932 runs)"
  as_root localedef -i ja_JP -f UTF-8 ja_JP.UTF-8
fi
