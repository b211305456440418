#!/bin/sh
# compile_for_mac.sh COMPILER ARCHITECTURE ROOT BUNDLE_FILES
#
# Compiles every source of the macOS side for macOS 11 on ARCHITECTURE, without making an object: warnings are errors,
# and so is the use of an interface that macOS 11 lacks outside an availability check. The system's interfaces are those
# of tests/macbox/include; the C and C++ libraries' headers, for want of a Mac's, are this machine's. Their own
# assumptions about the processor are satisfied by the macros below, which none of the program's sources reads.
# POSIX_SPAWN_CLOEXEC_DEFAULT is what a Mac's <spawn.h> has over this machine's.
set -eu
compiler=$1 architecture=$2 root=$3 bundle_files=$4

host=$("$compiler" -print-multiarch 2>/dev/null || echo x86_64-linux-gnu)
gcc_version=$(find /usr/include/c++ -mindepth 1 -maxdepth 1 -printf '%f\n' | sort -n | tail -1)
qt=$(pkg-config --cflags Qt6Core | sed 's/-I/-isystem /g')
warnings="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-qual -Wformat=2 -Wimplicit-fallthrough -Wunguarded-availability -Werror"
stand_ins=$(mktemp -d)
trap 'rm -rf "$stand_ins"' EXIT
mkdir -p "$stand_ins/gnu"
for header in gnu/stubs-32.h Availability.h AvailabilityMacros.h; do
    : > "$stand_ins/$header"
done
printf '#define TARGET_OS_MAC 1\n#define TARGET_OS_OSX 1\n' > "$stand_ins/TargetConditionals.h"

processor=
if [ "$architecture" != x86_64 ]; then
    processor="-D__x86_64__ -U__arm64__ -D__builtin_ia32_pause()=(void)0"
fi

count=0
for source in "$root"/common/posix/*.cpp "$root"/src/platform/macos/*.cpp "$root"/src/platform/posix/*.cpp \
    "$root"/helper/*.cpp "$root"/helper/macos/*.cpp; do
    # shellcheck disable=SC2086 # lists of options
    "$compiler" --target="$architecture-apple-macos11" -std=c++20 -fblocks -fsyntax-only -nostdinc++ -nostdlibinc \
        -U__nonnull -D_GNU_SOURCE -D__linux__ $processor $warnings \
        -DPOSIX_SPAWN_CLOEXEC_DEFAULT=0x4000 \
        -DQT_NO_CAST_FROM_ASCII -DQT_NO_CAST_TO_ASCII -DQT_NO_KEYWORDS \
        -I "$root/common" -I "$root/src" -I "$root/helper" -I "$bundle_files" -isystem "$root/tests/macbox/include" $qt \
        -isystem "$stand_ins" -isystem "/usr/include/c++/$gcc_version" -isystem "/usr/include/$host/c++/$gcc_version" \
        -isystem "/usr/include/$host" -isystem /usr/include "$source"
    count=$((count + 1))
done
[ "$count" -ge 15 ] || { echo "only $count sources found" >&2; exit 1; }
echo "$count sources compile for $architecture"
