#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./make_signal.sh PROGRAMS -- the spectrum that the fit reads, from the FID; PROGRAMS is the build folder
set -eu
"$1/varokel-import" p31_brain.fid.f32 --json p31_brain.fid.json -o . --force
