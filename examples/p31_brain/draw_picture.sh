#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./draw_picture.sh PROGRAMS -- picture.svg from the results that stand in this folder
set -eu
"$1/varokel-plot" p31_brain -o picture.svg --force --components --range '266:635' --view '240:660' --phase 180 --phi-1 1080 --title '31P spectrum of the brain, 7 T'
