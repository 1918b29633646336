#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The rules of tools/checks find what they are for: each is broken once in a small tree.
. "$(dirname "$0")/harness.sh"
checks=$tree/tools/checks

fresh_tree() {
    rm -rf src
    mkdir -p src/run src/model src/report src/control src/data src/help
    printf '#pragma once\n' | tee src/run/types.h src/run/varokel.h src/run/storage.h \
        src/report/fit_quality.h src/data/scan.h src/model/fft.h src/help/help.h >src/control/f_cntl.h
    printf '#include "run/types.h"\nextern int ap;\n' >src/run/state_signals.h
    printf '#include "run/state_signals.h"\n' >src/run/state.h
    printf '#include "model/fft.h"\n#include "kernel/decay.h"\n#include "run/state.h"\n#include <cmath>\n' >src/model/fft.cpp
    printf '#include "report/fit_quality.h"\n' >src/model/gradient.cpp
    printf '#include "run/varokel.h"\n#include "control/f_cntl.h"\n#include "help/help.h"\n' >src/run/varokel.cpp
    printf '#include "control/f_cntl.h"\n#include "data/scan.h"\n#include "model/fft.h"\n' >src/control/f_cntl.cpp
    rm -rf kernel engine files tools
    mkdir -p kernel engine files/base files/spectra files/results files/pages tools/common tools/varokel-fit tools/varokel-plot
    printf '#pragma once\n' | tee kernel/decay.h engine/optimum.h files/base/text_file.h files/spectra/metadata.h \
        files/results/run_result.h files/pages/report_page.h tools/common/command_line.h >tools/varokel-plot/plot_options.h
    printf '#include "kernel/decay.h"\n#include <vector>\n' >>engine/optimum.h
    printf '#include "files/base/text_file.h"\n#include <vector>\n' >>files/spectra/metadata.h
    printf '#include <nlohmann/json.hpp>\n' >files/base/json_library.cpp
    printf '#include "engine/optimum.h"\n#include "files/pages/report_page.h"\n#include "common/command_line.h"\n' >tools/varokel-fit/varokel_fit.cpp
}
# broken RULE FILE LINE TEXT: with LINE at the end of FILE the rule fails and says TEXT
broken() {
    fresh_tree
    local file=src/$2
    [ ! -f "$2" ] || file=$2
    printf '%b\n' "$3" >>"$file"
    status 1 "$checks/$1.sh" .
    holds out "$4"
}

fresh_tree
status 0 "$checks/includes.sh" .
status 0 "$checks/externs.sh" .

broken includes run/types.h '#include "model/fft.h"' 'run/types.h:2: run_floor may not include model'
broken includes run/storage.h '#include "run/varokel.h"' 'run_floor may not include run_roof'
broken includes model/fft.h '#include "data/scan.h"' 'model may not include data'
broken includes model/fft.h '#include "report/fit_quality.h"' 'model may not include report'
broken includes model/gradient.cpp '#include "report/../data/scan.h"' 'not written from a root'
broken includes help/help.h '#include "model/fft.h"' 'help may not include model'
broken includes data/scan.h '#include "control/f_cntl.h"' 'data may not include control'
broken includes report/fit_quality.h '#include "control/f_cntl.h"' 'report may not include control'
broken includes control/f_cntl.h '#include "run/varokel.h"' 'control may not include run_roof'
broken includes model/fft.h '#include "fft.h"' 'not written from a root'
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

broken includes kernel/decay.h '#include "run/types.h"' 'kernel/decay.h:2: kernel may not include run_floor'
broken includes kernel/decay.h '#include <nlohmann/json.hpp>' 'kernel needs the standard library only'
broken includes engine/optimum.h '#include "files/base/text_file.h"' 'comes behind an include in <>'
broken includes engine/optimum.h '#include <CLI/CLI.hpp>' 'engine needs the standard library only'
broken includes files/base/text_file.h '#include <nlohmann/json.hpp>' '<nlohmann/json.hpp> belongs behind a cover'
broken includes files/base/text_file.h '#include <nlohmann/json_fwd.hpp>' 'belongs behind a cover'
broken includes tools/varokel-fit/varokel_fit.cpp '#include <CLI/CLI.hpp>' '<CLI/CLI.hpp> belongs behind a cover'
broken includes tools/common/command_line.h '#include <regex>' '<regex> takes seconds to compile'
broken includes run/types.h '#include "kernel/decay.h"' 'run_floor may not include kernel'
broken includes kernel/decay.h '#include "kernel/none.h"' 'is not there'
broken includes run/types.h '#include "engine/optimum.h"' 'run_floor may not include engine'
broken includes model/fft.h '#include "files/base/text_file.h"' 'model may not include files/base'
broken includes files/base/text_file.h '#include "files/spectra/metadata.h"' 'files/base may not include files/spectra'
broken includes files/results/run_result.h '#include "files/pages/report_page.h"' 'files/results may not include files/pages'
broken includes files/results/run_result.h '#include "model/fft.h"' 'files/results may not include model'
broken includes files/results/run_result.h '#include "common/command_line.h"' 'is not there'
broken includes tools/common/command_line.h '#include "varokel-plot/plot_options.h"' 'tools/common may not include program'
broken includes tools/varokel-fit/varokel_fit.cpp '#include "varokel-plot/plot_options.h"' 'program may not include program'
broken includes tools/varokel-fit/varokel_fit.cpp '#include "model/fft.h"' 'program may not include model'
fresh_tree
printf '\n' >files/base/decay.h
status 1 "$checks/includes.sh" .
holds out 'kernel/decay.h:1: a file of this name is also files/base/decay.h'
fresh_tree
mkdir files/extra && printf '\n' >files/extra/new.h
status 1 "$checks/includes.sh" .
holds out 'folder files/extra/ is not in the table'

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

# functions whose digits hang on the processor
fresh_tree
mkdir -p engine
printf 'double exp(double x);\ncomplex_value exp_i(double x);\n' >kernel/elementary.h
printf 'double f(double x) { return kernel::exp(x) + std::sqrt(x) + my_exp(x) + s.log(x); } // std::exp(x)\n' \
    >engine/optimum.cpp
status 0 "$checks/math.sh" .
holds out '1 calls of kernel:: functions'
for call in 'std::exp(x)' 'exp (x)' '::sin(x)' 'std::atan2(y, x)' 'std::polar(r, x)' 'powf(x, y)' 'std::log10(x)' \
    'std :: cosh(x)' 'std::hypot(x, y)' 'fma(x, y, z)' 'engine::exp(x)'; do
    for file in engine/optimum.cpp kernel/elementary.h; do
        cp "$file" saved
        printf 'double g = %s;\n' "$call" >>"$file"
        status 1 "$checks/math.sh" .
        holds out "$file:$(wc -l <"$file"): "
        mv saved "$file"
    done
done
for file in kernel/decay.h src/model/fft.cpp; do
    cp "$file" saved
    printf 'double g = std::exp(x);\n' >>"$file"
    status 1 "$checks/math.sh" .
    holds out "$file:$(wc -l <"$file"): std::exp"
    mv saved "$file"
done
if command -v g++ >/dev/null 2>&1; then
    printf '#include <complex>\ndouble g(std::complex<double> z) { return std::abs(z); }\n' >engine/size.cpp
    status 0 "$checks/math.sh" .
    g++ -c engine/size.cpp -o size.o && ar rc libsize.a size.o
    status 1 "$checks/math.sh" . libsize.a
    holds out 'libsize.a asks for cabs'
    printf '#include <complex>\ntypedef std::complex<double> z;\nz g(z a, z b) { return a / b; }\n' >engine/ratio.cpp
    g++ -c engine/ratio.cpp -o ratio.o && ar rc libratio.a ratio.o
    status 1 "$checks/math.sh" . libratio.a
    holds out 'libratio.a asks for __divdc3'
fi

# files and functions that are too long; lines N TEXT prints N lines of it
if command -v python3 >/dev/null 2>&1; then
    lines() { for ((i = 0; i < $1; ++i)); do printf '%b\n' "$2"; done; }
    rm -rf src kernel engine files tools
    mkdir -p kernel src/help tools
    function_of() { # LINES: a function of so many, with braces in texts, comments and letters
        printf 'struct pair { int a; };\nnamespace numbers {\nclass sum {\n    int f(int a,\n'
        printf '          int b) const {\n'
        lines $(($1 - 6)) '        if (a) { b = "}{"[0]; } // }'
        printf "        g('}', R\"(}}})\", 1'000);\n        /* }\n }}} */\n    }\n};\n}\n"
    }
    function_of 60 >kernel/decay.cpp
    status 0 "$checks/lengths" .
    holds out '1 functions in 1 files'
    function_of 61 >kernel/decay.cpp
    lines 59 '' >>kernel/decay.cpp
    status 1 "$checks/lengths" .
    holds out 'kernel/decay.cpp:4: f has 61 lines'
    function_of 40 >kernel/decay.cpp
    { printf 'def f(a):\n' && lines 59 '    a += 1'; } >tools/sum.py
    status 0 "$checks/lengths" .
    holds out '2 functions in 2 files'
    printf '    a += 1\n' >>tools/sum.py
    status 1 "$checks/lengths" .
    holds out 'tools/sum.py:1: f has 61 lines'
    rm tools/sum.py
    lines 400 '' >kernel/decay.h
    lines 401 '' >src/help/help_texts.cpp
    status 0 "$checks/lengths" .
    lines 401 '' >kernel/decay.h
    lines 400 '' >src/help/help_texts.cpp
    status 1 "$checks/lengths" .
    holds out 'kernel/decay.h: 401 lines'
    holds out 'src/help/help_texts.cpp: is not longer'
    rm -rf kernel
    status 1 "$checks/lengths" .
fi

rm -rf src kernel engine files tools && mkdir src
status 1 "$checks/math.sh" .
status 1 "$checks/includes.sh" .

# names of files that are compiled as one
if command -v python3 >/dev/null 2>&1; then
    mkdir -p one/Unity
    printf '#include "%s/one/%s.cpp"\n' "$PWD" sum "$PWD" difference >one/Unity/unity_0.cxx
    printf '[{"file": "%s/one/Unity/unity_0.cxx"}]\n' "$PWD" >one/compile_commands.json
    names() { # FIRST SECOND: what stands in the two files
        printf '%b\n' "$1" >one/sum.cpp
        printf '%b\n' "$2" >one/difference.cpp
    }
    names 'static int add(int a) {\n    static int sum = 0;' 'static int take(int a) {\n    static int sum = 0;\n    add(a);'
    status 0 "$checks/unit_names" one
    holds out '0 names in two files of one of 1 units'
    for second in 'static double add(double a) {' 'static const pair<int> *add(\n    int a) {' \
        'template <class number>\nstatic number add(number a) {' 'static constexpr int add = 1;' 'const int add[2] = {};'; do
        names 'static int add(int a) {' "$second"
        status 1 "$checks/unit_names" one
        holds out 'add: difference.cpp, sum.cpp'
    done
    echo '[]' >one/compile_commands.json
    status 77 "$checks/unit_names" one
fi

# what a source says of itself
status 1 "$checks/heads.sh" .
printf '// SPDX\n// sum.cpp -- adds\n' >src/sum.cpp
printf '/* SPDX\n *\n * sum.h -- adds\n' >src/sum.h
status 0 "$checks/heads.sh" .
holds out '2 files, 0 without a head'
for head in '// dif.cpp -- adds' '// sumXcpp -- adds' '// sum.cpp -- ' '#include "sum.h"'; do
    printf '// SPDX\n%s\n' "$head" >src/sum.cpp
    status 1 "$checks/heads.sh" .
    holds out 'src/sum.cpp: its first lines do not say what it is'
done

finish
