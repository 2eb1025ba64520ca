#!/bin/sh
# run_where_possible.sh PROGRAM [FEATURE...]: runs the program; 77, which ctest shows as skipped,
# where the processor lacks one of the features.
program=$1
shift
for feature; do
    grep -qw "$feature" /proc/cpuinfo && continue
    echo "This processor has no $feature."
    exit 77
done
exec "$program"
