#!/usr/bin/env bash
# Fails unless every system header that the build in BUILD-DIR read (the compiler's dependency
# files name them) belongs to a package of scripts/packages.txt or to a package one of them
# depends on, so that a fresh machine set up by scripts/setup.sh can build what this one built.
# Usage: scripts/check-packages.sh [build-dir]
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd -P)
build=$(cd "${1:-build}" && pwd -P)

mapfile -t wanted < <(grep -v -e '^#' -e '^[[:space:]]*$' scripts/packages.txt)

# The absolute paths in the dependency files, less those of the source and build trees. Targets
# built only where an optional package happens to be installed (the Qt example; the DXF bench,
# which compares with dime where it is there) are left out: a fresh machine builds without them.
mapfile -t headers < <(find "$build" -path '*/CMakeFiles/*' -name '*.d' -not -path '*/example_embed_qt.dir/*' \
    -not -path '*/DxfBench.dir/*' -print0 |
    xargs -0 cat | tr ' \\' '\n\n' | grep '^/' | grep -v ':$' |
    grep -v -e "^$root/" -e "^$build/" | sort -u)
if [ ${#headers[@]} -eq 0 ]; then
    echo "check-packages: no dependency files under $build (build first)" >&2
    exit 1
fi

# Every installed package reachable from the wanted ones through Depends and Pre-Depends, with
# virtual packages resolved through the installed packages' Provides.
reachable=$(dpkg-query -W -f='${Package}\t${Depends}, ${Pre-Depends}\t${Provides}\n' |
    awk -F'\t' -v wanted="${wanted[*]}" '
    function bare(name) { sub(/^[ ]+/, "", name); sub(/[ (:].*/, "", name); return name }
    {
        deps[$1] = $2
        n = split($3, provided, ",")
        for (i = 1; i <= n; ++i) providers[bare(provided[i])] = providers[bare(provided[i])] " " $1
    }
    END {
        n = split(wanted, queue, " ")
        for (i = 1; i <= n; ++i) seen[queue[i]] = 1
        for (head = 1; head <= n; ++head) {
            p = queue[head]
            if (!(p in deps)) {
                m = split(providers[p], alternatives, " ")
                for (j = 1; j <= m; ++j) if (!(alternatives[j] in seen)) { seen[alternatives[j]] = 1; queue[++n] = alternatives[j] }
                continue
            }
            m = split(deps[p], parts, /[,|]/)
            for (j = 1; j <= m; ++j) {
                d = bare(parts[j])
                if (d != "" && !(d in seen)) { seen[d] = 1; queue[++n] = d }
            }
        }
        for (p in seen) print p
    }')

declare -A ok
while read -r p; do ok[$p]=1; done <<<"$reachable"

# dpkg -S names a header's packages ("pkg1:arch, pkg2: /path"); a header it does not know is
# looked up again through its real path (a symbolic link installed by a package's scripts).
failed=0
owners() { dpkg -S "$@" 2>/dev/null || true; }
declare -A owner
while IFS= read -r line; do
    owner[${line#*: }]=${line%%: *}
done < <(owners "${headers[@]}")
for h in "${headers[@]}"; do
    packages=${owner[$h]:-}
    if [ -z "$packages" ]; then
        real=$(realpath -e "$h" 2>/dev/null || echo "$h")
        packages=$(owners "$real" | head -n 1)
        packages=${packages%%: *}
    fi
    if [ -z "$packages" ]; then
        echo "check-packages: $h belongs to no Debian package" >&2
        failed=1
        continue
    fi
    found=0
    for p in ${packages//,/ }; do
        [ -n "${ok[${p%%:*}]:-}" ] && found=1
    done
    if [ $found -eq 0 ]; then
        echo "check-packages: $h belongs to ${packages//:amd64/}, which scripts/packages.txt does not install" >&2
        failed=1
    fi
done
[ $failed -eq 0 ] || exit 1
echo "check-packages: the ${#headers[@]} system headers the build read all come from scripts/packages.txt"
