#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs them.
#
#   scripts/fuzz.sh TARGET SECONDS    TARGET: petal, rpc_frame, class_xml or all
#
# The build goes to $FUZZ_BUILD_DIR (build/fuzz by default), each target's corpus to
# <build dir>/corpus/<target> (seeded by fuzz_make_seeds and, for petal, the sample models
# when present), and crashing inputs to fuzz/crashes/<target>/ for inspection. Runs use one
# job and one worker, since the machine is shared; fuzz/<target>.dict gives libFuzzer the
# tokens of each format. Extra libFuzzer options may be given in $FUZZ_OPTIONS.
#
# Once fixed, a crashing input is kept, minimised (-minimize_crash=1), in
# tests/fuzz_regress/<target>/, where the normal build's fuzz_regress_test replays it.
set -euo pipefail
cd "$(dirname "$0")/.."
root="$PWD"

if [ $# -ne 2 ]; then
    echo "usage: scripts/fuzz.sh petal|rpc_frame|class_xml|all SECONDS" >&2
    exit 2
fi
target="$1"
seconds="$2"
case "$target" in
    all) targets=(petal rpc_frame class_xml) ;;
    petal | rpc_frame | class_xml) targets=("$target") ;;
    *)
        echo "fuzz.sh: unknown target '$target'" >&2
        exit 2
        ;;
esac

build="${FUZZ_BUILD_DIR:-build/fuzz}"
case "$build" in /*) ;; *) build="$root/$build" ;; esac
sanitize="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined"
if [ ! -f "$build/build.ninja" ]; then
    CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_FLAGS="$sanitize -fno-omit-frame-pointer" \
        -DCORVANSIL_FUZZ=ON -DCORVANSIL_TESTS=OFF -DCORVANSIL_BENCH=OFF >/dev/null
fi
ninja -C "$build" -j2 fuzz_make_seeds "${targets[@]/#/fuzz_}"

seeds="$build/seeds"
"$build/fuzz/fuzz_make_seeds" "$seeds"
samples="$root/../shared/samples"

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
status=0
for t in "${targets[@]}"; do
    corpus="$build/corpus/$t"
    crashes="$root/fuzz/crashes/$t"
    mkdir -p "$corpus" "$crashes"
    extra=()
    options=()
    [ -f "fuzz/$t.dict" ] && options+=(-dict="$root/fuzz/$t.dict")
    # The sample models are large; mutating them whole would slow every run.
    [ "$t" = petal ] && options+=(-max_len=65536)
    if [ "$t" = petal ] && [ -d "$samples" ]; then
        # The sample models are read where they are; they are never copied into the tree.
        while IFS= read -r -d '' dir; do extra+=("$dir"); done < <(
            find "$samples" -type f \( -name '*.mdl' -o -name '*.cat' \) -printf '%h\0' | sort -zu)
    fi
    # With -jobs libFuzzer runs in a child whose output goes to fuzz-0.log in the current
    # directory; each target gets its own directory for it.
    logs="$build/logs/$t"
    mkdir -p "$logs"
    rm -f "$logs/fuzz-0.log"
    echo "== fuzz_$t for ${seconds}s (corpus $corpus, log $logs/fuzz-0.log)"
    # shellcheck disable=SC2086
    if ! (cd "$logs" && "$build/fuzz/fuzz_$t" -max_total_time="$seconds" -jobs=1 -workers=1 \
        -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 "${options[@]}" \
        -artifact_prefix="$crashes/" ${FUZZ_OPTIONS:-} \
        "$corpus" "$seeds/$t" "${extra[@]}"); then
        status=1
    fi
    # libFuzzer's own summary: final coverage, corpus size and speed.
    grep -E '^#[0-9]+[[:space:]]+DONE|^stat::' "$logs/fuzz-0.log" || true
    if grep -qE '^(==[0-9]+==ERROR|SUMMARY:|fuzz_[a-z_]+: )' "$logs/fuzz-0.log" 2>/dev/null; then
        echo "fuzz_$t stopped on a finding; see $crashes" >&2
        status=1
    fi
done
exit $status
