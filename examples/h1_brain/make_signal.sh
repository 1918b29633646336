#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./make_signal.sh PROGRAMS -- the spectrum that the fit reads, from the FID; PROGRAMS is the build folder
set -eu
"$1/varokel-import" h1_brain.fid.f32 --json h1_brain.fid.json -o . --force
