#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
#
# The begin time that would explain a misfit: of the 31P example, which began 0.3 ms late, without the
# item that says so.
. "$(dirname "$0")/harness.sh"

fit=$programs/varokel-fit
p31=$tree/examples/p31_brain
cp "$p31/p31_brain.fid.f32" late.fid.f32
grep -v dead_time_s "$p31/p31_brain.fid.json" >late.fid.json
one=(late.fid.f32 "$p31/peaks.txt" --method exact)
said='a begin time of 0\.\(29\|30\)[0-9]* ms would explain [0-9]* % of the misfit: --begin-time 0\.000\(29\|30\)[0-9]*$'

status 0 "$fit" "${one[@]}" -o guessed
true_that 'the begin time is suggested' grep -q "^varokel-fit: $said" err
if [ -x "$programs/varokel-report" ]; then
    holds guessed/report.html 'ms would explain'
fi
holds guessed/optimum.json suggested_begin_time
lacks guessed/late.json begin_time_s

# what was said is what explains it
option=$(sed -n 's/.*: --begin-time //p' err)
status 0 "$fit" "${one[@]}" -o given --begin-time "$option"
lacks err 'begin time of'
lacks err 'misfit'

# a file or an option that says when it began, be it 0, is believed
status 0 "$fit" "$p31/p31_brain.fid.f32" "$p31/peaks.txt" --method exact -o known --no-report
lacks err 'begin time of'
status 0 "$fit" "${one[@]}" -o zero --begin-time 0 --no-report
holds err 'misfit'
lacks err 'begin time of'

# of several spectra it is said once
cat late.fid.f32 late.fid.f32 >two.fid.f32
sed 's/"n_points": 1024,/"n_points": 1024, "n_spectra": 2,/' late.fid.json >two.fid.json
status 0 "$fit" two.fid.f32 "$p31/peaks.txt" --method exact -o two --index all --no-report
true_that 'both are counted' grep -q "^varokel-fit: 2 of 2: $said" err

finish
