#!/usr/bin/env bash
# Usage: part_of_another_project.sh ROOT
set -euo pipefail
source "$(dirname "$0")/common.sh"

buildWithCMake shared -DMARL_SOURCES="$root" -DBUILD_SHARED_LIBS=ON
buildWithCMake static -DMARL_SOURCES="$root" -DCMAKE_CXX_FLAGS=-D_GLIBCXX_DEBUG
