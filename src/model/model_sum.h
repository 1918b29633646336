// SPDX-License-Identifier: BSD-3-Clause
// model_sum.h -- curves of many entries, summed in the time domain and transformed once
//
// The transform is linear: a model needs one of them however many entries it has, and the change
// of a model needs one for the difference of the curves that change.
#pragma once

#include "model/fft_plan.h"
#include "run/types.h"

// What the curves of a run have in common; the members mean what they mean in l_shapes.h.
struct curve_setting {
    int ap, nLines, n_patterns, td_ap_trunc, ref_line, lsf_coefs, ignore;
    const int *fit_lsf;
    double frscl, phi_1;
    const double *re_ref, *im_ref, *r_lsf, *i_lsf, *pat;
};

// The setting of the variables of these names, a run's or a routine's arguments: by name, so that
// no two can be swapped.
#define CURVE_SETTING_HERE                                                                         \
    {                                                                                              \
        .ap = ap, .nLines = nLines, .n_patterns = n_patterns, .td_ap_trunc = td_ap_trunc,          \
        .ref_line = ref_line, .lsf_coefs = lsf_coefs, .ignore = ignore, .fit_lsf = fit_lsf,        \
        .frscl = frscl, .phi_1 = phi_1, .re_ref = re_ref, .im_ref = im_ref, .r_lsf = r_lsf,        \
        .i_lsf = i_lsf, .pat = pat                                                                 \
    }

// One request stands for the arrays that the message names.
inline constexpr char no_model_storage[] =
    " Memory requested to store dummy_re[] in spec_fnc() not available\n"
    "Memory requested to store dummy_im[] in spec_fnc() not available\n"
    "Memory requested to store t_yre[] in spec_fnc() not available\n"
    "Memory requested to store t_yim[] in spec_fnc() not available\n";

// Each sum has storage of its own, from begin on. The storage of one that ends is left to the next,
// so that the model evaluations of a run allocate once.
class model_sum {
  public:
    model_sum() = default;
    ~model_sum();
    model_sum(const model_sum &) = delete;
    model_sum &operator=(const model_sum &) = delete;

    // Starts an empty sum. False when its storage cannot be had (no_storage is printed), or when
    // the points are no power of two.
    bool begin(const curve_setting &setting, const char *no_storage = no_model_storage);

    // Keeps the present sum, not yet transformed, for begin_with_kept.
    void keep();
    // Starts a sum that is factor times the kept one. Not for sums with a lineshape still to come:
    // false then, and when nothing was kept for this setting.
    bool begin_with_kept(double factor);

    // Adds (factor_re + i factor_im) times the curve of entry k (1-based) of a line type with the
    // five parameters p. An entry without a shape adds nothing.
    void add(int k, int type, const double *p, double factor_re, double factor_im = 0.0);

    // Turns the sum into its centred spectrum: re(), im(), ap points each.
    void transform();

    double *re() const { return re_; }
    double *im() const { return im_; }

    // Releases what the last sum left.
    static void release_storage();

  private:
    void add_line(int k, int type, const double *p, double factor_re, double factor_im);
    void add_pattern(int k, const double *p, double factor_re, double factor_im);

    bool have_storage(int ap, const char *no_storage);

    curve_setting setting_{};
    const kernel::transform_plan *plan_ = nullptr;
    double *storage_ = nullptr; // of all arrays below, storage_points_ each
    int storage_points_ = 0;
    double *re_ = nullptr, *im_ = nullptr;         // sum of the curves without fitted lineshape
    double *lsf_re_ = nullptr, *lsf_im_ = nullptr; // sum of those that take it
    double *work_re_ = nullptr, *work_im_ = nullptr;
    double *kept_re_ = nullptr, *kept_im_ = nullptr;
    bool has_lsf_ = false, has_kept_ = false;
};
