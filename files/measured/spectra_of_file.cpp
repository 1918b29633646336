// SPDX-License-Identifier: BSD-3-Clause
// spectra_of_file.cpp -- spectra of a measured file as values, for looking
#include "files/measured/spectra_of_file.h"

#include "files/base/tool_error.h"
#include "files/measured/combined_source.h"
#include "files/measured/spectrum_conversion.h"

namespace tools {

converted_spectra spectra_of_file(const input_options &options, const spectrum_options &own,
                                  std::size_t most) {
    const std::unique_ptr<spectrum_source> source =
        open_combined(options.input, options.json, options, false);
    const choice chosen = choose_spectra(*source, options.choice);
    spectrum_conversion conversion(*source, chosen, options, own);
    conversion.look_at_all(own.memory);
    converted_spectra out;
    out.chosen = chosen.spectra.size();
    for (std::size_t s = 0; s < chosen.spectra.size() && out.spectra.size() < most; ++s) {
        complex_signal fid =
            std::move(read_fids(*source, chosen.spectra, s, s + 1, conversion.used()).front());
        if (is_all_zero(fid)) continue;
        converted_spectrum &one = out.spectra.emplace_back();
        one.name = source->stem + chosen.spectra[s].suffix;
        one.sidecar = conversion.items();
        if (const long long measured = conversion.measured_of(fid); measured < conversion.points())
            one.sidecar["measured_points"] = measured;
        one.points = conversion.spectrum_of(std::move(fid), nullptr, &one.sidecar);
        conversion.describe(one.points, one.sidecar);
    }
    if (out.spectra.empty())
        refuse_input(source->file, "all points are zero; expected measured points");
    out.remarks = conversion.remarks();
    return out;
}

} // namespace tools
