// SPDX-License-Identifier: BSD-3-Clause
#include "support/small_fit.h"

#include "support/support.h"

#include <cmath>
#include <vector>

namespace support {

static std::string entry_text(int k, int type, const std::string (&value)[5], int fixed_from) {
    std::string text = "#" + std::to_string(k) + "\nlsffit 0\n";
    for (int j = 0; j < 5; ++j) {
        const int link = j >= fixed_from ? k : 0;
        const double v = std::stod(value[j]);
        text += std::to_string(type) + " " + std::to_string(link) + " " + value[j] + " " +
                std::to_string(v - 0.5 * std::fabs(v) - 1.0) + " " +
                std::to_string(v + 0.5 * std::fabs(v) + 1.0) + "\n";
    }
    return text;
}

void write_small_fit(const small_fit_choice &choice) {
    const std::string line[2][5] = {{"10.0", "80.0", "3.34", "5.0", "3.0"},
                                    {"6.0", "40.0", "0.0", "5.0", "2.0"}};
    const std::string pattern[5] = {"2.0", "0.0", "0.0", "5.0", "0.0"};
    const int mode = choice.lineshape ? 3 : choice.reference ? 2 : 1;
    std::string text = "version_3\nn_pnts 64\nnoistr 2\nnoistp 12\nnLines 2\nlsfcfs " +
                       std::to_string(choice.lineshape ? 1 : 0) +
                       "\nphi__1 30.0\nHz_p_p 2.0\nf__tol 1.0E-09\nfit_mo " + std::to_string(mode) +
                       "\nverbos " + std::to_string(choice.verbose) +
                       "\nshowli 1\nclcerr 1\nsg_idl none\nranges 1\nignore 1\npattrn " +
                       std::to_string(choice.patterns ? 1 : 0) + "\n";
    if (choice.patterns) text += "pattern.pat\n";
    text +=
        "algor trunc ampli frequ width phase voigt lsfft wtype convo niter cmplx n_int min max\n";
    const std::string tail = " 2 1 0 63\n";
    if (choice.alignment) text += "@ 2 64 0 0 0 0 0 0 1 1 1" + tail;
    if (choice.random_step) text += "@ 1 64 1 1 1 1 1 0 1 0 3" + tail;
    const std::string iterations = std::to_string(choice.iterations);
    if (choice.lineshape) text += "@ 2 64 1 1 1 1 1 1 1 0 " + iterations + tail;
    text += "@ 2 64 1 1 1 1 1 0 1 0 " + iterations + tail;
    text += "number area frequency gausswidth phase lorentzwidth\n";
    for (int k = 0; k < 2; ++k) {
        text += std::to_string(k + 1);
        for (const std::string &value : line[k]) text += " " + value;
        text += "\n";
    }
    if (choice.patterns) {
        text += "3";
        for (const std::string &value : pattern) text += " " + value;
        text += "\n";
    }
    text += entry_text(1, 3, line[0], 5);
    std::string second = entry_text(2, 2, line[1], 5);
    const std::string width1 = "2 0 0.0 ";
    second.replace(second.find(width1), width1.size(), "2 2 0.0 "); // a Lorentzian has no width1
    text += second;
    if (choice.patterns) text += entry_text(3, 4, pattern, 1);
    text += std::string("lsf_coefs\n") + (choice.lineshape ? "1.0 0.0\n" : "") + "end_of_lsf\n";
    write_file("start.par", text);
    if (choice.patterns)
        write_file("pattern.pat", "start_pattern number_of_lines 2 parameters name line_type area "
                                  "frequency gauss_width zero_phase lorentz_width\n"
                                  "a lorentz 1.0 100.0 0.0 3.0\nb gauss 0.5 110.0 4.0 0.0\n"
                                  "comment end_of_pattern\n");

    // two Lorentzian peaks and noise: any data will do that a fit can work on
    random_numbers random(1);
    std::vector<double> re(64), im(64);
    for (std::size_t i = 0; i < 64; ++i) {
        const double x = static_cast<double>(i);
        for (double centre : {40.3, 20.2}) {
            const double d = (x - centre) / 1.2;
            re[i] += 1.5 / (1.0 + d * d);
            im[i] -= 1.5 * d / (1.0 + d * d);
        }
        re[i] += 0.02 * random.normal();
        im[i] += 0.02 * random.normal();
    }
    write_signal("data.bin", re, im);
    if (choice.reference) {
        std::vector<double> ref(64), none(64);
        for (std::size_t i = 0; i < 64; ++i) ref[i] = std::exp(-0.01 * static_cast<double>(i));
        write_signal("data.bin.ref", ref, none);
    }
}

} // namespace support
