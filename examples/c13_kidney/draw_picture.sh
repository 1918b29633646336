#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./draw_picture.sh PROGRAMS -- picture.svg from the results that stand in this folder
set -eu
"$1/varokel-plot" c13_kidney -o picture.svg --force --components --range '426:571' --view '400:600' --title 'Hyperpolarised 13C, rat kidneys, 3 T'
