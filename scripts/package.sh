#!/usr/bin/env bash
# Builds the Debian packages into build-package/, and checks them with lintian, an installation and a removal.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh package
cmake --preset package >/dev/null
cmake --build --preset package
tests/outside/packages.sh "$PWD/build-package" "$PWD/build-package"
ls -1 build-package/*.deb
