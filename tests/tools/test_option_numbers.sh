#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# Numbers behind options of all programs are decimal and finite: 0x10, nan and 1e999 are named and refused, 010 is ten.
. "$(dirname "$0")/harness.sh"

# numbers COMMAND...: options of --help that take a number by itself, from their type names
numbers() {
    "$@" --help | sed -nE 's/^ +(-[a-z],)?(--[a-z0-9-]+) (N|S|HZ|MHZ|PPM|X|R|A|F|P|SD|MIB|SECONDS)([: ].*)?$/\2/p' |
        grep -vxE -- '--resize|--reference-peak' # words, too
}

seen=0
for command in varokel-{start,report,compare,plot,simulate,fit,import} 'varokel-import basis' 'varokel-import pattern' \
    'varokel-batch plan' 'varokel-batch run'; do
    read -r program word <<<"$command"
    run=("$programs/$program" ${word:+"$word"})
    for option in $(numbers "${run[@]}"); do
        seen=$((seen + 1))
        for text in 0x10 0X1p4 nan -nan inf -inf infinity 1e999 '' ' 5' '5 ' 5x 1_0 1,5 1e 1.2.3 - + . --; do
            status 2 "${run[@]}" "$option=$text"
            [ -z "$text" ] || holds err "$option: \"$text\" where a"
        done
    done
done
true_that "options of all programs were tried, $seen of them" test "$seen" -ge 50

# ---- what a number is ----
start_file n_pnts=64 noistp=15 Hz_p_p=5.0 '@ 2 64 1 1 1 1 1 0 1 0 100 2 1 0 20' '2 9 160 5 0 1' >start.par
simulated() { status 0 "$programs/varokel-simulate" start.par -o "$1" --force "${@:2}"; }
simulated ten.bin --noise 0.5 --seed 10
for seed in 010 +10 00010; do
    simulated again.bin --noise 0.5 --seed "$seed"
    true_that "--seed $seed is ten" cmp ten.bin again.bin
done
for noise in .5 5e-1 +0.5 0.5e0 5E-1 00.50; do
    simulated again.bin --noise "$noise" --seed 10
    true_that "--noise $noise is a half" cmp ten.bin again.bin
done
simulated none.bin --noise 0 --seed 10
for noise in 1e-999 -0 0.; do
    simulated again.bin --noise "$noise" --seed 10
    true_that "--noise $noise is none" cmp none.bin again.bin
done
simulated most.bin --noise 0.5 --seed 18446744073709551615
for seed in 18446744073709551616 -1 1.0 1e1; do
    status 2 "$programs/varokel-simulate" start.par -o again.bin --force --noise 0.5 "--seed=$seed"
    holds err "$seed"
done
# ... and what it has to be
for bad in 0 -1 1e-400; do
    status 2 "$programs/varokel-simulate" start.par -o a.fid.f32 --noise 1 --seed 1 "--frequency=$bad"
    holds err "--frequency: \"$bad\" where a number above 0 was expected"
done
# above 0 is also what has fewer digits than other numbers, below 2.2e-308
for least in 4.94e-324 1e-310 2.22e-308; do
    status 0 "$programs/varokel-fit" "$tree/examples/p31_brain/p31_brain.fid.f32" \
        "$tree/examples/p31_brain/peaks.txt" -o looked --look --force --echo-time "$least"
done
status 2 "$programs/varokel-simulate" start.par -o a.bin --seed 1 --noise=-1e-9
holds err '--noise: "-1e-9" where a number from 0 on was expected'
# ---- numbers within a text ----
status 0 "$programs/varokel-simulate" start.par -o a.fid.f32 --noise 1 --seed 1 --frequency 123 --ppm-at-carrier 4.7
for stretch in nan:5 4:nan inf:5 -inf:inf 4:1e999 0x4:5 4:4; do
    status 2 "$programs/varokel-import" a.fid.f32 -o imported "--remove-water=$stretch"
    holds err "--remove-water $stretch: expected two shifts in ppm"
done
true_that "nothing was written" test ! -e imported
status 0 "$programs/varokel-import" a.fid.f32 -o imported --remove-water 1e-999:5
finish
