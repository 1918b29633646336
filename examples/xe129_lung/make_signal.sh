#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./make_signal.sh PROGRAMS -- the spectrum that the fit reads, from the FID; PROGRAMS is the build folder
set -eu
"$1/varokel-import" xe129_lung.fid.f32 --json xe129_lung.fid.json -o . --force
