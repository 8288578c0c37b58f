# Shared by ./run and ./test. Expects $root, the folder of the checkout.

say() { printf '%s\n' "$*" >&2; }
fail() { say "$*"; exit 1; }

# install_packages LIST... : installs what is missing with apt, if it may; otherwise says in one line what to install.
# A name with "?" behind it comes along where the release has it, and is not asked for.
install_packages() {
    command -v dpkg-query >/dev/null || return 0 # not Debian: the user's own packages have to do
    local wanted optional installed missing
    wanted=$(cat "$@" | grep -v '?$' | sort -u)
    optional=$(echo $(sed -n 's/?$//p' "$@"))
    # What another package provides is there, too: later releases merge packages.
    installed=$(dpkg-query -W -f '${db:Status-Status} ${Package} ${Provides}\n' |
        sed -n 's/([^)]*)//g; s/,/ /g; s/^installed //p' | tr -s ' ' '\n' | sort -u)
    missing=$(echo $(comm -23 <(echo "$wanted") <(echo "$installed")))
    [ -n "$missing" ] || return 0

    local as_root=
    if [ "$(id -u)" != 0 ]; then
        sudo -n true 2>/dev/null || fail "Please install first: sudo apt-get install $missing"
        as_root="sudo -n"
    fi
    say "Installing: $missing"
    quietly install "$root/build" sh -c "$as_root apt-get update -q && \
        $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $missing && \
        for package in $optional; do \
            $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends \$package || true; \
        done"
}

# quietly WHAT LOGDIR COMMAND... : runs a command with its output in a log, and shows the end of the log when it fails.
quietly() {
    local what=$1 log=$2/$1.log
    mkdir -p "$2"
    shift 2
    if ! "$@" >"$log" 2>&1 </dev/null; then
        tail -n 60 "$log" >&2
        fail "$what failed; the whole output is in $log"
    fi
}

# build PRESET [TARGET...] : configures and builds, everything or these targets.
build() {
    local preset=$1 folder=$root/build/$1
    shift
    [ -f "$folder/build.ninja" ] || say "Building ($preset), this takes some minutes the first time"
    quietly configure "$folder" cmake -S "$root" --preset "$preset"
    quietly build "$folder" cmake --build "$folder" ${1:+--target "$@"}
}

# run_tests PRESET [WORDS...] : runs what is built, on a virtual display; the words go to ctest.
run_tests() {
    local folder=$root/build/$1
    shift
    # Leaks inside Qt, GL drivers and fontconfig are not ours; tests without them ask for LeakSanitizer.
    export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0:new_delete_type_mismatch=0}
    export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
    with_virtual_display ctest --test-dir "$folder" --parallel "$(nproc)" --output-on-failure --no-tests=error "$@"
}

# step WHAT COMMAND... : runs a command, and says in one line what it was and how long it took.
step() {
    local what=$1 started=$SECONDS status=0 outcome=
    shift
    ("$@") || status=$?
    [ $status = 0 ] || outcome=", failed"
    say "$(awk -v s=$((SECONDS - started)) -v w="$what" -v o="$outcome" 'BEGIN { printf "%s: %.1f min%s", w, s / 60, o }')"
    return $status
}

# with_virtual_display COMMAND... : runs a command on a display of its own, drawn in software.
with_virtual_display() {
    if [ -z "${XDG_RUNTIME_DIR:-}" ]; then # Qt asks for it, and complains without
        export XDG_RUNTIME_DIR=$root/build/runtime
        mkdir -p -m 700 "$XDG_RUNTIME_DIR"
    fi
    LIBGL_ALWAYS_SOFTWARE=1 xvfb-run -a -s "-screen 0 1600x1000x24 -noreset" "$@"
}
