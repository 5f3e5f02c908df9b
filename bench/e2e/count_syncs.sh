#!/usr/bin/env bash
# Counts the commits and file syncs of one socket export: starts the real tavro-host on a fresh
# data directory under strace, with its SQLite commits counted (libsqlite_commit_counter),
# runs roundtrip_bench's socket round trip of N classes against it (ROUNDTRIP_TAVRO), stops it
# and sorts its fsync/fdatasync calls by file, those of the run apart from those of starting.
#   bench/e2e/count_syncs.sh BUILD_DIR [CLASSES [BENCHMARK]]
# CLASSES is 100 by default (1000 and 5000 also run); BENCHMARK is BM_RoundTripOverSockets, or
# BM_ExportBackOverSockets (100 only) for an export that replaces every class it writes.
set -euo pipefail
build=${1:?build directory}
classes=${2:-100}
bench=${3:-BM_RoundTripOverSockets}
work=$(mktemp -d /tmp/count-syncs-XXXXXX)
trap 'rm -rf "$work"' EXIT
printf dev-secret >"$work/pw"
"$build/hosts/tavro/tavro-host" init "$work/data" --user dev --password-file "$work/pw" >/dev/null

strace -f -y --seccomp-bpf -e trace=fsync,fdatasync,sync_file_range,openat,accept4,accept \
    -E LD_PRELOAD="$build/bench/e2e/libsqlite_commit_counter.so" -o "$work/trace" \
    "$build/hosts/tavro/tavro-host" serve "$work/data" --port 0 >"$work/out" 2>"$work/err" &
tracer=$!
for _ in $(seq 50); do grep -q serving "$work/out" 2>/dev/null && break; sleep 0.2; done
address=$(sed -n 's/.* on \(tcp:.*\)$/\1/p' "$work/out")
host=$(grep -m1 -o '^[0-9]*' "$work/trace")  # the first line is tavro-host's own

ROUNDTRIP_TAVRO=$address "$build/bench/e2e/roundtrip_bench" \
    --benchmark_filter="$bench/$classes/" --benchmark_format=json |
    grep -E '"(export_ms|import_ms|back_ms|roundtrips/class|error_message)"' || true
kill -TERM "$host"
wait "$tracer" || true

# Everything after the first accepted connection belongs to the run.
sed -E 's/count-syncs-[A-Za-z0-9]+/W/g' "$work/trace" |
    awk '/ accept/ { run = 1 } $2 ~ /^(fsync|fdatasync|sync_file_range)\(/ {
            print (run ? "run    " : "startup"), $2 }' |
    sed -E 's/\([0-9]+</ /; s/>.*$//' | sort | uniq -c
grep 'sqlite commits' "$work/err"
echo "$bench: $classes classes"
