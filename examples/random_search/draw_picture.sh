#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./draw_picture.sh PROGRAMS -- picture.svg from the results that stand in this folder
set -eu
"$1/varokel-plot" random_search -o picture.svg --force --components --hz-per-point 1 --axis hz --range '200:850' --view '250:650' --title 'Two lines after random search and gradients'
