#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./draw_picture.sh PROGRAMS -- picture.svg from the results that stand in this folder
set -eu
"$1/varokel-plot" single_line -o picture.svg --force --components --hz-per-point 1 --axis hz --range '300:700' --view '400:600' --title 'One Voigt line'
