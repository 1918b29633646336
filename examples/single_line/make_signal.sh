#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./make_signal.sh PROGRAMS -- the spectrum of truth.par with noise; PROGRAMS is the build folder
set -eu
"$1/varokel-simulate" truth.par -o single_line.bin --noise 0.005 --seed 2 --force
