#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The rules of tools/checks find what they are for: each is broken once in a small tree.
. "$(dirname "$0")/harness.sh"
checks=$tree/tools/checks

fresh_tree() {
    rm -rf src kernel
    mkdir -p kernel src/run src/model src/report src/control src/data src/help
    printf '#pragma once\n' | tee src/run/types.h src/run/varokel.h src/run/storage.h \
        src/report/fit_quality.h src/data/scan.h src/model/fft.h src/help/help.h >src/control/f_cntl.h
    printf '#pragma once\n' >kernel/lanes.h
    printf '#include "run/types.h"\nextern int ap;\n' >src/run/state_signals.h
    printf '#include "run/state_signals.h"\n' >src/run/state.h
    printf '#include "model/fft.h"\n#include "kernel/lanes.h"\n#include "run/state.h"\n#include <cmath>\n' >src/model/fft.cpp
    printf '#include "report/fit_quality.h"\n' >src/model/gradient.cpp
    printf '#include "run/varokel.h"\n#include "control/f_cntl.h"\n#include "help/help.h"\n' >src/run/varokel.cpp
    printf '#include "control/f_cntl.h"\n#include "data/scan.h"\n#include "model/fft.h"\n' >src/control/f_cntl.cpp
}
# broken RULE FILE LINE TEXT: with LINE at the end of FILE the rule fails and says TEXT
broken() {
    fresh_tree
    case $2 in kernel/*) file=$2 ;; *) file=src/$2 ;; esac
    printf '%b\n' "$3" >>"$file"
    status 1 "$checks/$1.sh" .
    holds out "$4"
}

fresh_tree
status 0 "$checks/includes.sh" .
status 0 "$checks/externs.sh" .

broken includes run/types.h '#include "model/fft.h"' 'run/types.h:2: run_floor may not include model'
broken includes run/types.h '#include "kernel/lanes.h"' 'run_floor may not include kernel'
broken includes kernel/lanes.h '#include "run/types.h"' 'kernel/lanes.h:2: kernel may not include run_floor'
broken includes kernel/lanes.h '#include "kernel/none.h"' 'is not there'
broken includes run/storage.h '#include "run/varokel.h"' 'run_floor may not include run_roof'
broken includes model/fft.h '#include "data/scan.h"' 'model may not include data'
broken includes model/fft.h '#include "report/fit_quality.h"' 'model may not include report'
broken includes model/gradient.cpp '#include "report/../data/scan.h"' 'not written from the root'
broken includes help/help.h '#include "model/fft.h"' 'help may not include model'
broken includes data/scan.h '#include "control/f_cntl.h"' 'data may not include control'
broken includes report/fit_quality.h '#include "control/f_cntl.h"' 'report may not include control'
broken includes control/f_cntl.h '#include "run/varokel.h"' 'control may not include run_roof'
broken includes model/fft.h '#include "fft.h"' 'not written from the root'
broken includes model/fft.h '#include "run/stat.h"' 'is not there'
broken includes model/fft.h '#  include "data/scan.h"' 'model may not include data'
broken includes model/fft.h '#include FFT_TABLE' 'cannot read'
broken includes model/gradient.cpp '#include "model/gradient.h"' 'is not there'
broken includes help/help.h '#include <cmath>\n#include "run/types.h"' 'comes behind an include in <>'
fresh_tree
printf '#include "run/types.h"\n#include "data/scan.h"\n' >src/data/scan.cpp
status 1 "$checks/includes.sh" .
holds out 'own header comes first'
fresh_tree
mkdir src/extra && printf '\n' >src/extra/new.h
status 1 "$checks/includes.sh" .
holds out 'folder extra/ is not in the table'

broken externs model/fft.cpp 'extern int nLines;' 'model/fft.cpp:5: extern belongs into'
broken externs run/state.h 'extern "C" int f();' 'run/state.h:2: extern belongs into'
broken externs run/types.h 'int a; extern double b; // comment' 'run/types.h:2'
broken externs model/fft.h '/* comment */ extern int a;' 'model/fft.h:2'
broken externs model/fft.h '/* comment\n over lines */ extern int a;' 'model/fft.h:3'
fresh_tree
printf '// extern is a word\n/* extern\n extern */\nconst char *t = "extern";\nint externals;\n' >>src/model/fft.h
status 0 "$checks/externs.sh" .
printf '\n' >src/run/state_signals.h
status 1 "$checks/externs.sh" .
holds out 'no extern at all'
rm -rf src kernel && mkdir src kernel
status 1 "$checks/includes.sh" .

finish
