#!/usr/bin/env bash
# Fails, naming the places, when a source file is not as clang-format leaves it.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -co --exclude-standard '*.cpp' '*.h' | xargs clang-format --dry-run -Werror
