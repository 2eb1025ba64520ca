#!/usr/bin/env bash
# Usage: part_of_another_project.sh ROOT
set -euo pipefail
source "$(dirname "$0")/common.sh"

for shared in OFF ON; do
    buildWithCMake "shared_$shared" -DMARL_SOURCES="$root" -DBUILD_SHARED_LIBS=$shared
done
