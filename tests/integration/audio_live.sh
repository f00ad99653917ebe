#!/usr/bin/env bash
# Runs the live audio tests matching FILTER against a private sound server.
# Usage: audio_live.sh TEST_BINARY FILTER PARLEVO
set -euo pipefail
source "$(dirname "$0")/../harness/sound.sh"
sound_start
export PARLEVO_BIN="$3"
"$1" --gtest_filter="$2"
