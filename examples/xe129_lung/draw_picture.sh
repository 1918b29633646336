#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
#
# ./draw_picture.sh PROGRAMS -- picture.svg from the results that stand in this folder
set -eu
"$1/varokel-plot" xe129_lung -o picture.svg --force --components --range '119:232' --phase 57 --phi-1 514.08 --title 'Hyperpolarised 129Xe in the lung, 3 T'
