#!/bin/sh
# Prints the name of every network interface but the loopback, one per line.
# shellcheck source=net_lib.sh
. "${0%/*}/net_lib.sh"

interfaces
