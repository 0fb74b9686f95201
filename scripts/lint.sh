#!/usr/bin/env bash
# lint.sh [REVISION]: one forbidden call, clang-tidy over what each build compiles, then cppcheck. Everything that either says is
# an error. With a revision only the sources that changed since then, and those beside a header that did.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
since=${1:-}

if git grep -n 'detach()' -- src; then
    echo "lint: use StartDetached (src/common/DetachedThread.h says why)" >&2
    exit 1
fi

for preset in windows host; do cmake --preset "$preset" >/dev/null; done

# The compile commands are GCC's: clang gets the target and GCC's own C++ headers instead.
gcc_include=$(x86_64-w64-mingw32-g++-posix -print-file-name=include/c++)
mingw_arguments=(--extra-arg-before=--target=x86_64-w64-mingw32 --extra-arg-before=-nostdinc++
    --extra-arg=-isystem"$gcc_include" --extra-arg=-isystem"$gcc_include/x86_64-w64-mingw32"
    --extra-arg=-isystem"$gcc_include/backward" --extra-arg=-isystem/usr/x86_64-w64-mingw32/include)
common_arguments=(--quiet --extra-arg=-Wno-unknown-warning-option --extra-arg=-Wno-error)

product='^(src|plugins|sim|tools|controller)/'

changed() { # the product's sources that changed since the revision; what only moved has not
    git diff --name-status -M "$since" -- | awk '$1 != "D" && $1 != "R100" {print $NF}' | grep -E "$product" |
        sed -nE 's/\.(h|cpp)$/.cpp/p' | sort -u | while read -r file; do [ ! -e "$file" ] || echo "$file"; done
}

compiled() { # preset: the sources that it compiles and that are asked for
    all_compiled "$1" | if [ -n "$since" ]; then comm -12 - <(changed); else cat; fi
}

all_compiled() {
    sed -n "s|^ *\"file\": \"$PWD/\(.*\.cpp\)\".*|\1|p" "build/$1/compile_commands.json" |
        grep -E "$product" | grep -v '^sim/kernels/' | sort -u # Clang 14 has no std::source_location
}

tidy() { # preset, further arguments; the sources come on standard input
    local preset=$1
    shift
    xargs -r -P "$(nproc)" -n 4 clang-tidy -p "build/$preset" "${common_arguments[@]}" "$@"
}

# Each source once: natively where it builds natively.
echo "clang-tidy, native sources"
compiled host | tidy host
echo "clang-tidy, Windows sources"
comm -13 <(compiled host) <(compiled windows) | tidy windows "${mingw_arguments[@]}"
echo "cppcheck"
if [ -n "$since" ]; then mapfile -t checked < <(changed); else checked=(src plugins sim tools controller); fi
[ ${#checked[@]} -eq 0 ] || cppcheck --quiet --error-exitcode=1 --std=c++20 --platform=win64 --library=windows --language=c++ \
    --enable=warning,performance,portability --inline-suppr --suppress=missingInclude --suppress=unknownMacro \
    -U QV_FEE_POOL_TABLE \
    -I src -I sdk/include -I plugins -I tools -I controller "${checked[@]}"
if [ -z "$since" ]; then
    echo "registers of the GPU kernels"
    scripts/registers.sh || true # only where the assembler is installed; it says so itself
fi
echo "lint: clean"
