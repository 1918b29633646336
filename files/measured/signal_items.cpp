// SPDX-License-Identifier: BSD-3-Clause
// signal_items.cpp -- what options and source say of all spectra, and how a sidecar has it
#include "files/measured/signal_items.h"

#include "files/base/plain_text.h"
#include "files/base/sha256.h"
#include "files/base/tool_error.h"
#include "files/spectra/number_range.h"

#include <charconv>
#include <cmath>
#include <filesystem>

namespace tools {

std::string file_name(const std::string &path) {
    const std::string name = std::filesystem::path(path).filename().string();
    refuse_not_utf8(name, "the name of a file,");
    return name;
}

std::string shortest(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value);
    return std::string(text, end.ptr);
}

double delay_phase(double begin_time, double dwell_time) {
    return std::round(360e6 * begin_time / dwell_time) / 1e6;
}

// Where the spectrometer reference stands: solvent water for protons and deuterium,
// phosphocreatine for phosphorus, by the habit of the field.
static std::optional<double> usual_ppm_at_carrier(const std::string &nucleus) {
    if (nucleus == "1H" || nucleus == "2H") return 4.65;
    if (nucleus == "31P") return 0.0;
    return std::nullopt;
}

static void refuse_out_of_range(const spectrum_source &source) {
    const signal_facts &facts = source.facts;
    const auto refuse = [&](const char *what, double value, const char *expected) {
        refuse_input(source.file,
                     std::string(what) + " of " + shortest(value) + "; expected " + expected);
    };
    if (facts.dwell_time && !is_scale(*facts.dwell_time))
        refuse("a dwell time [s]", *facts.dwell_time, scale_expected);
    if (facts.mhz && !is_scale(*facts.mhz))
        refuse("a spectrometer frequency [MHz]", *facts.mhz, scale_expected);
    if (facts.ppm_at_carrier && !is_in_range(*facts.ppm_at_carrier))
        refuse("a chemical shift of the carrier [ppm]", *facts.ppm_at_carrier, number_expected);
    if (!facts.begin_time) return;
    if (!is_in_range(*facts.begin_time))
        refuse("a begin time [s]", *facts.begin_time, number_expected);
    const double phase = delay_phase(*facts.begin_time, *facts.dwell_time);
    if (!is_in_range(phase))
        refuse("a begin time that means a first-order phase [degrees]", phase, number_expected);
}

void settle_facts(spectrum_source &source, const spectrum_options &own) {
    signal_facts &facts = source.facts;
    const auto drop_guess = [&](const char *item) {
        std::erase_if(source.guesses, [&](const guessed_value &g) { return g.item == item; });
    };
    if (own.dwell_time && own.bandwidth)
        throw tool_error(wrong_usage, "--dwell and --bandwidth say the same; give one of them");
    if (own.dwell_time || own.bandwidth) {
        facts.dwell_time = own.dwell_time ? *own.dwell_time : 1.0 / *own.bandwidth;
        drop_guess("dwell_time_s");
    }
    if (own.mhz) {
        facts.mhz = own.mhz;
        drop_guess("spectrometer_mhz");
    }
    if (own.ppm_at_carrier) facts.ppm_at_carrier = own.ppm_at_carrier;
    if (own.begin_time) facts.begin_time = own.begin_time;
    if (own.nucleus) {
        facts.nucleus = own.nucleus;
        drop_guess("nucleus");
    }
    if (own.axis) {
        facts.ppm_rises_with_points = *own.axis == "rising";
        drop_guess("ppm_rises_with_points");
    }
    if (!facts.dwell_time)
        refuse_input(source.file, "dwell time unknown; expected item \"dwell_time_s\" in a JSON "
                                  "beside it, or --dwell SECONDS or --bandwidth HERTZ");
    refuse_out_of_range(source);
    if (!facts.ppm_at_carrier && facts.nucleus) {
        facts.ppm_at_carrier = usual_ppm_at_carrier(*facts.nucleus);
        if (facts.ppm_at_carrier)
            source.guesses.push_back(
                {"ppm_at_carrier", *facts.ppm_at_carrier,
                 "the usual one for " + *facts.nucleus + "; --ppm-at-carrier sets another"});
    }
    if (!facts.mhz)
        source.warnings.push_back("the spectrometer frequency is not known; give --frequency to "
                                  "have ppm");
    else if (!facts.ppm_at_carrier)
        source.warnings.push_back("the chemical shift at the carrier is not known; give "
                                  "--ppm-at-carrier to have ppm");
    if (source.opposite_sense && own.axis && !own.axis->empty())
        source.notes["axis_given"] = *own.axis;
}

ordered_json common_items(const spectrum_source &source, bool conjugated, bool rises, long long n) {
    const signal_facts &facts = source.facts;
    ordered_json items;
    items["content"] =
        std::string(spectrum_content) + ", complex, little-endian float32; carrier at point n/2";
    items["points"] = n;
    items["dwell_time_s"] = *facts.dwell_time;
    items["hz_per_point"] = 1.0 / (*facts.dwell_time * static_cast<double>(n));
    if (facts.mhz) items["spectrometer_mhz"] = *facts.mhz;
    if (facts.ppm_at_carrier) items["ppm_at_carrier"] = *facts.ppm_at_carrier;
    items["ppm_rises_with_points"] = rises;
    if (facts.nucleus) items["nucleus"] = *facts.nucleus;
    if (facts.echo_time) items["echo_time_s"] = *facts.echo_time;
    if (facts.repetition_time) items["repetition_time_s"] = *facts.repetition_time;
    if (facts.averages) items["averages"] = *facts.averages;
    if (facts.voxel_mm) items["voxel_mm"] = *facts.voxel_mm;
    if (facts.date) items["date"] = *facts.date;
    if (facts.begin_time) {
        items["begin_time_s"] = *facts.begin_time;
        items["phi_1_degrees"] = delay_phase(*facts.begin_time, *facts.dwell_time);
    }
    if (n != source.points)
        items["resized"] = {{"from", source.points},
                            {"to", n},
                            {"how", n > source.points ? "filled with zeros" : "cut"}};
    ordered_json &from = items["source"];
    from["file"] = file_name(source.file);
    from["format"] = source.format;
    from["sha256"] = sha256_of_file(source.file);
    from["spectra"] = source.spectra();
    from["points"] = source.points;
    from["conjugated"] = conjugated;
    for (const std::string &companion : source.companions) {
        from["companions"].push_back(
            {{"file", file_name(companion)}, {"sha256", sha256_of_file(companion)}});
        if (companion.ends_with(".json")) from["metadata"] = file_name(companion);
    }
    for (const auto &[item, value] : source.notes.items()) from[item] = value;
    return items;
}

} // namespace tools
