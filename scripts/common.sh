# shellcheck shell=bash
# Shared by run, test and the scripts here; sourced with `root` set to the checkout.
# All chatter goes to standard error, so that standard output stays the command's own.

say() { printf 'larkmoor: %s\n' "$*" >&2; }

fail() {
    say "$*"
    exit 1
}

# Checkouts in several places share one cache of compiled files.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}

# build PRESET TARGET...: configures where that is due, then builds.
build() {
    local preset=$1 dir=$root/build/$1
    shift
    mkdir -p "$dir"
    (
        flock -n 9 || {
            say "waiting for another build in build/$preset"
            flock 9
        }
        # Sources that are saved while the build runs must count as newer than it.
        printf '%s' "$root" >"$dir/.building"

        local configured=$dir/.configured fresh=()
        [[ ! -f $configured || $(<"$configured") == "$root" ]] || fresh=(--fresh) # the checkout was moved
        if [[ ! -f $dir/build.ninja || ! -f $configured || ${#fresh[@]} -gt 0 ||
            $root/CMakePresets.json -nt $configured ]]; then
            say "configuring build/$preset"
            cmake -S "$root" --preset "$preset" "${fresh[@]}" >&2 || fail "configuring build/$preset failed"
            printf '%s' "$root" >"$configured"
        fi
        say "building $* in build/$preset"
        cmake --build "$dir" --target "$@" >&2 || fail "the build in build/$preset failed"
        for target; do cp -p "$dir/.building" "$dir/.built.$target"; done
    ) 9>"$dir/.lock"
}

# program_is_current NAME: true when nothing that the program is built from changed since it was built, alone or with all
# else, so that the build tool need not be asked. A source that went away shows in its folder's time.
program_is_current() {
    local dir=$root/build/release built
    [[ -x $dir/bin/$1 ]] || return 1
    for built in "$dir/.built.$1" "$dir/.built.all"; do
        [[ -f $built && $(<"$built") == "$root" ]] &&
            [[ -z $(find "$root"/{src,host,apps,cmake,CMakeLists.txt,CMakePresets.json,scripts/packages.txt} \
                /var/lib/dpkg/status -newer "$built" -print -quit 2>/dev/null) ]] && return 0
    done
    return 1
}
