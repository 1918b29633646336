// SPDX-License-Identifier: BSD-3-Clause
// varokel.cpp -- entry of a run: command line, callable function, run preparation
#include "run/varokel.h"

#include "control/control_file.h"
#include "control/start_value_file.h"
#include "data/sage_io.h"
#include "help/help.h"
#include "model/fft.h"
#include "model/fft_plan.h"
#include "model/model_sum.h"
#include "model/objective.h"
#include "run/fit_spectrum.h"
#include "run/input_spectrum.h"
#include "run/end_run.h"
#include "run/print_lines.h"
#include "run/state.h"
#include "run/storage.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

static constexpr std::size_t longest_argument = 255; // the messages say 115: wording kept

static const char *const banner_lines[] = {
    "****************************************************************************\n",
    "***    ##    ##    ##    ######    #####   ##   ##  #######  ##          ***\n",
    "***    ##    ##   ####   ##   ##  ##   ##  ##  ##   ##       ##          ***\n",
    "***    ##    ##  ##  ##  ##   ##  ##   ##  #####    #####    ##          ***\n",
    "***     ##  ##   ######  ######   ##   ##  ##  ##   ##       ##          ***\n",
    "***      ####   ##    ## ##  ##   ##   ##  ##   ##  ##       ##          ***\n",
    "***       ##    ##    ## ##   ##   #####   ##    ## #######  #######     ***\n",
    "****************************************************************************\n",
    "***                 Windows version  2.4  - 27-06-2024                   ***\n",
    "***                         the varokel authors                          ***\n",
    "****************************************************************************\n",
    "\n",
};

static const char *const usage_head[] = {
    "\n\nfatal runtime error : \n\n",
    ">  program varokel terminated due to             \n",
    ">  a wrong number of arguments in program call \n\n",
};
static const char usage_too_many[] = ">  you entered more than 3 program arguments     \n";
static const char *const usage_call[] = {
    "program call should be : \n",
    "------------------------ \n",
    "           varokel  datapath$    datafnm$       strtvalfnm$\n",
    "\n in which : \n",
    " * datapath$   : string indicating the location of\n",
    "                 the signal file to fit\n",
};
static const char usage_reference_if_any[] =
    "                 and its reference signal file (if any)\n";
static const char usage_reference[] =
    "                 starting value file and reference signal file\n";
static const char *const usage_tail[] = {
    " * datafnm$    : string containing file name of the signal file to fit\n",
    " * strtvalfnm$ : string containing path AND file name of starting value value file\n\n",
    "\nyou entered : \n\n           ",
};
static const char *const file_format_lines[] = {
    "\n\n file formats :\n",
    "       * datapath$/datafnm$ : binary single precision data file\n",
    "       * ./strtvalfnm$      : ascii starting value file      \n\n",
    "for more help on the program please enter : \n\n",
    "               {prompt} varokel -h \n",
    "---\n",
};

static void print_usage(int argc, char **argv, const char *extra_line, const char *reference_line) {
    print_lines(usage_head);
    std::fputs(extra_line, stdout);
    print_lines(usage_call);
    std::fputs(reference_line, stdout);
    print_lines(usage_tail);
    for (int i = 0; i < argc; ++i) std::printf("%s ", argv[i]);
}

static void print_time_stamp() {
    if (verbose > 0) std::printf("%s\n", time_stamp().c_str());
}

// Appends what fits of text to a string of the given capacity.
static void append(char *target, std::size_t capacity, const char *text) {
    const std::size_t length = std::strlen(target);
    std::snprintf(target + length, capacity - length, "%s", text);
}

static void append_command_word(const char *word) {
    append(command, sizeof command, word);
    append(command, sizeof command, "\t");
}

static void refuse_long_argument(const char *argument, const char *message) {
    if (std::strlen(argument) <= longest_argument) return;
    std::printf("implementation restriction : \n");
    std::printf("%s", message);
    end_run(1);
}

static void run_fit() {
    create_lookup(lookup, ap, 1);
    cf_non_int_main();
    free_memory(ap);
    model_sum::release_storage();
    release_fft_plans();
}

static int run_with_arguments(int argc, char **argv) {
    print_time_stamp();
    if (4 * std::strlen(argv[0]) > 4096) {
        std::printf("implementation restriction : \n");
        std::printf("varokel command line to long \n");
    }
    refuse_long_argument(argv[1],
                         "length of path (first) argument exceeds 115 characters : reduce size\n");
    refuse_long_argument(argv[2],
                         "length of file (second) argument exceeds 115 characters : reduce size\n");
    refuse_long_argument(argv[3], "length of <path + starting value file> (third) argument exceeds "
                                  "115 characters : reduce size\n");
    std::snprintf(path, sizeof path, "%s/", argv[1]);
    std::snprintf(fnm, sizeof fnm, "%s", argv[2]);
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", argv[3]);
    for (int i = 0; i < argc; ++i) append_command_word(argv[i]);
    run_fit();
    return 0;
}

int run_command_line(int argc, char **argv) {
    switch (argc) {
    case 0:
    case 1:
        return 0;
    case 2:
        if (std::strcmp(argv[1], "-h") == 0) {
            display_help_text(9);
        } else {
            print_usage(argc, argv, "", usage_reference_if_any);
            print_lines(file_format_lines);
        }
        return 0;
    case 3:
        if (std::strcmp(argv[1], "-h") == 0) {
            const long topic = std::strtol(argv[2], nullptr, 10);
            if (topic >= 0 && topic <= 8) display_help_text(static_cast<unsigned>(topic));
        } else {
            print_usage(argc, argv, "", usage_reference);
            print_lines(file_format_lines);
        }
        end_run(1);
    case 4:
        return run_with_arguments(argc, argv);
    default:
        print_usage(argc, argv, usage_too_many, usage_reference_if_any);
        std::printf(
            "\n\nHint : type varokel -h to get more information about  the usage of varokel\n");
        return 0;
    }
}

void varokel(const char *data_path, const char *data_name, const char *start_name) {
    // room for the longest ending of an output name
    const std::size_t longest_name = sizeof fnm - sizeof "_verbose.par";
    for (const char *text : {data_path, data_name, start_name}) {
        if (std::strlen(text) < longest_name) continue;
        std::printf("implementation restriction : \n");
        std::printf("a name of %zu characters exceeds the %zu allowed : %s\n", std::strlen(text),
                    longest_name - 1, text);
        return;
    }
    verbose = 2;
    print_time_stamp();
    std::snprintf(path, sizeof path, "%s", data_path);
    std::snprintf(fnm, sizeof fnm, "%s", data_name);
    std::snprintf(strtvalfnm, sizeof strtvalfnm, "%s", start_name);
    append_command_word(data_path);
    append_command_word(data_name);
    append_command_word(start_name);
    run_fit();
}

static void set_defaults() {
    std::snprintf(sage_idl, sizeof sage_idl, "sage_idl");
    verbose = 2;
    show_line = 1;
    sageidl = 1;
    T_acq = 0.5;
    Hz_pp = 1.0;
    frscl = 1.0;
    phi_1 = 0.0;
    ftol = 1e-7;
    deriv_p = 1e7;
    itmax = 100;
    brent_itmax = 100;
    td_ap_trunc = 1024;
    complex = 2;
    weighting_type = 1;
    convolute = error_calc = ref_line = single_line = spec = pattern_enable = file_corrupt = 0;
    fitmode = par_ranges = ignore = noise_strt = noise_stop = 0;
    amp_fit = freq_fit = width_fit = phase_fit = voigt_fit = lsf_fit_enable = 0;
    ap = ap_noise = nLines = n_patterns = npar = lsf_coefs = ncom = 0;
    n_fit_strat_steps = h_cur_range = 0;
    const auto clear = [](auto &...arrays) { (std::memset(arrays, 0, sizeof arrays), ...); };
    clear(fit_lsf, lsf_area, min_method, var_ap_trunc, user_fit_strat, n_intervals, hxmin, hxmax,
          hrange);
    // an earlier run of this process must not show in the reports of this one
    sigma = sigma_im = scalefactor = chi_before = minimum = chi_after = true_chi = 0.0;
    dummy1 = niter = nfitted = 0;
}

static void print_not_fitted() {
    std::printf("Program termination status : \n\n");
    std::printf("          data file: %s  not fitted due to \n", fnm);
}

// The model of lines with a common area and their Lorentzian width as Gaussian width, as weights.
static void model_weights(bool area_from_width) {
    for (int k = 0; k < nLines + n_patterns; ++k) {
        double *w = wpar + pars_per_entry * k;
        const double *p = par + pars_per_entry * k;
        w[area_par] = area_from_width ? 1.0 / p[width2_par] : 1.0;
        w[freq_par] = p[freq_par];
        w[width1_par] = p[width2_par];
        w[phase_par] = 0.0;
        w[width2_par] = 0.0;
    }
    ParToSignal(wpar, wre, wim);
    // Only the imaginary weights lose their sign: deliberate.
    for (int i = 0; i < ap; ++i) wim[i] = std::fabs(wim[i]);
}

static void first_weights() {
    switch (weighting_type) {
    case 1:
    case 7:
        for (int i = 0; i < ap; ++i) wre[i] = wim[i] = 1.0;
        break;
    case 2:
        for (int i = 0; i < ap; ++i) {
            wre[i] = xre[i];
            wim[i] = xim[i];
        }
        break;
    case 3:
    case 4:
        ParToSignal(par, wre, wim);
        break;
    case 5:
        model_weights(false);
        break;
    case 6:
        model_weights(true);
        break;
    default:
        break;
    }
}

void cf_non_int_main() {
    set_defaults();
    MakeInitValFile();
    if (verbose > 0) print_lines(banner_lines);
    if (file_corrupt == 1) {
        print_not_fitted();
        std::printf("          errors in fit control file :  %s\n\n\n\n", strtvalfnm);
        return;
    }
    allocate_memory(ap);
    if (!storage_complete()) {
        print_not_fitted();
        std::printf("          insufficient memory\n\n\n\n");
        return;
    }
    create_lookup(lookup, ap, 1);
    ParToSignal(par, yre, yim);
    if (sageidl == 1) {
        std::snprintf(shffnm, sizeof shffnm, "%.500s.shf", fnm);
        std::snprintf(sdffnm, sizeof sdffnm, "%.500s.sdf", fnm);
        read_sageidl_header(shffnm, idl);
    } else {
        std::snprintf(sdffnm, sizeof sdffnm, "%s", fnm);
    }
    InputSpectrumToFit(xre, xim);
    first_weights();
    FitSpectrum();
}
