#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./draw_picture.sh PROGRAMS -- picture.svg from the results that stand in this folder
set -eu
"$1/varokel-plot" h1_brain -o picture.svg --force --components --range '1596:2002' --view '1580:2020' --title '1H spectrum of the brain, 7 T: singlets and humps'
