// SPDX-License-Identifier: BSD-3-Clause
#include "support/support.h"

#include "run/end_run.h"
#include "run/state.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <unistd.h>

namespace support {

std::string stdout_of(const std::function<void()> &f) {
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    std::FILE *file = std::tmpfile();
    if (saved < 0 || file == nullptr) throw std::runtime_error("standard output not captured");
    dup2(fileno(file), STDOUT_FILENO);
    const auto restore = [&] {
        std::fflush(stdout);
        dup2(saved, STDOUT_FILENO);
        close(saved);
    };
    try {
        f();
    } catch (...) {
        restore();
        std::fclose(file);
        throw;
    }
    restore();
    std::string text;
    std::rewind(file);
    char block[4096];
    for (std::size_t n; (n = std::fread(block, 1, sizeof block, file)) > 0;) text.append(block, n);
    std::fclose(file);
    return text;
}

struct ended {
    int status;
};

int end_status_of(const std::function<void()> &f) {
    replace_end_run([](int status) { throw ended{status}; });
    int status = no_end;
    try {
        f();
    } catch (const ended &end) {
        status = end.status;
    } catch (...) {
        replace_end_run(nullptr);
        throw;
    }
    replace_end_run(nullptr);
    return status;
}

temporary_folder::temporary_folder(bool make_current) {
    std::string pattern = (std::filesystem::temp_directory_path() / "varokel.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    name_ = pattern;
    if (make_current) {
        previous_ = std::filesystem::current_path().string();
        std::filesystem::current_path(name_);
    }
}

temporary_folder::~temporary_folder() {
    std::error_code ignored;
    if (!previous_.empty()) std::filesystem::current_path(previous_, ignored);
    std::filesystem::remove_all(name_, ignored);
}

void write_file(const std::string &name, const std::string &content) {
    std::ofstream file(name, std::ios::binary);
    file << content;
    if (!file) throw std::runtime_error("cannot write " + name);
}

std::string read_file(const std::string &name) {
    std::ifstream file(name, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool file_exists(const std::string &name) {
    return std::filesystem::exists(name);
}

static_assert(sizeof(float) == 4);

void write_signal(const std::string &name, const std::vector<double> &re,
                  const std::vector<double> &im) {
    std::string bytes;
    for (std::size_t i = 0; i < re.size(); ++i) {
        for (double value : {re[i], im[i]}) {
            const float single = static_cast<float>(value);
            std::uint32_t bits = 0;
            std::memcpy(&bits, &single, 4);
            for (int b = 0; b < 4; ++b) bytes += static_cast<char>((bits >> (8 * b)) & 0xffU);
        }
    }
    write_file(name, bytes);
}

void read_signal(const std::string &name, std::vector<double> &re, std::vector<double> &im) {
    const std::string bytes = read_file(name);
    re.clear();
    im.clear();
    for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) {
        std::uint32_t bits = 0;
        for (std::size_t b = 0; b < 4; ++b)
            bits |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at + b]))
                    << (8 * b);
        float single = 0;
        std::memcpy(&single, &bits, 4);
        ((at / 4) % 2 == 0 ? re : im).push_back(static_cast<double>(single));
    }
}

void reset_state() {
    free_memory(ap);
    const auto clear = [](auto &...variables) {
        (std::memset(&variables, 0, sizeof variables), ...);
    };
    clear(path, fnm, strtvalfnm, command, sdffnm, shffnm, sage_idl, host, user, domain);
    clear(verbose, show_line, sageidl, itmax, brent_itmax, td_ap_trunc, complex, weighting_type,
          convolute, error_calc, ref_line, single_line, spec, pattern_enable, file_corrupt, fitmode,
          par_ranges, ignore, noise_strt, noise_stop, amp_fit, freq_fit, width_fit, phase_fit,
          voigt_fit, lsf_fit_enable, nLines, n_patterns, npar, lsf_coefs, ncom, ap, ap_noise,
          n_fit_strat_steps, h_cur_range, dummy1, niter, nfitted);
    clear(T_acq, Hz_pp, frscl, phi_1, ftol, deriv_p, sigma, sigma_im, scalefactor, chi_before,
          minimum, chi_after, true_chi);
    clear(fit_lsf, lsf_area, min_method, var_ap_trunc, user_fit_strat, n_intervals, hxmin, hxmax,
          hrange, lookup);
}

std::uint64_t random_numbers::next() {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
}

double random_numbers::uniform(double lo, double hi) {
    return lo + (hi - lo) * static_cast<double>(next() >> 11) * 0x1p-53;
}

int random_numbers::integer(int lo, int hi) {
    const auto span = static_cast<std::uint64_t>(hi - lo + 1);
    return lo + static_cast<int>(next() % span);
}

double random_numbers::normal() {
    if (has_spare_) {
        has_spare_ = false;
        return spare_;
    }
    const double radius = std::sqrt(-2.0 * std::log(1.0 - uniform(0.0, 1.0)));
    const double angle = uniform(0.0, 6.283185307179586);
    spare_ = radius * std::sin(angle);
    has_spare_ = true;
    return radius * std::cos(angle);
}

} // namespace support
