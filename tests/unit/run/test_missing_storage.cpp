// SPDX-License-Identifier: BSD-3-Clause
//
// The texts of a run whose storage requests fail, each in its place.
#include "run/storage.h"

#include "run/state.h"
#include "run/varokel.h"
#include "support/small_fit.h"
#include "support/support.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

// Lets one request of a run fail at a time, from both ends inward, until every text was printed.
static void expect_texts(const support::small_fit_choice &choice, std::set<std::string> texts) {
    const auto said_without_request = [&choice](long long k) {
        const support::temporary_folder folder(true); // writing over files waits for the disk
        support::write_small_fit(choice);
        fail_storage_request(k);
        const std::string said = support::stdout_of(
            [] { support::end_status_of([] { varokel("", "data.bin", "start.par"); }); });
        fail_storage_request(0);
        return said;
    };
    const long long before = storage_requests();
    said_without_request(0);
    const long long requests = storage_requests() - before;
    for (long long i = 0; i < requests && !texts.empty(); ++i) {
        const std::string said = said_without_request(i % 2 == 0 ? 1 + i / 2 : requests - i / 2);
        // every text begins a line: nothing stands before it
        std::erase_if(texts, [&](const std::string &text) {
            return said.starts_with(text) || said.find("\n" + text) != said.npos;
        });
    }
    for (const std::string &text : texts) ADD_FAILURE() << "never said: " << text;
}

TEST(missing_storage, of_driver_steps_and_reports_is_named) {
    expect_texts(
        {.reference = true, .alignment = true, .iterations = 1},
        {" Memory requested to store ge_array[] in InputSpectrumToFit is not available\n",
         " Memory requested to store signal[] in Truncate_Spectrum() is not available\n",
         " Memory requested to store o_fixpar[]-struct in FitSpectrum() is not available\n",
         " Memory requested to store o_par[] in FitSpectrum() is not available\n",
         " Memory requested to store o_errpar[] in FitSpectrum() is not available\n",
         " Memory requested to store ge_array[] in void FitSpectrum is not available\n",
         " Memory requested to store xabs[] in void Fit_Strategy_Step is  not available\n",
         " Memory requested to store yabs[] in void Fit_Strategy_Step is  not available\n",
         " Memory requested to store conv_weighting[] in void Fit_Strategy_Step is  not "
         "available\n",
         " Memory requested to store conv[] in void Fit_Strategy_Step is  not available\n",
         " Memory requested to store dummy_arr[] in void Fit_Strategy_Step is  not available\n",
         " Memory requested to store rot_arr[] in Convolution() is not available",
         " Memory requested to store dummy[] in Rotate_Vector() is not available\n",
         " Memory requested to store huge_arr[] in void Write_nLines is not available\n",
         " Memory requested to store yre[] in void Write_nLines is not available\n",
         " Memory requested to store yim[] in void Write_nLines is not available\n",
         " Memory requested to store o_fixpar[] in WriteFitResult() is not available\n",
         " Memory requested to store o_par[] in WriteFitResult() is not available\n",
         " Memory requested to store o_errpar[] in WriteFitResult() is not available\n",
         "Memory requested to store c_amp[] in WriteEXCELFitResults() is not available\n",
         "Memory requested to store o_fixpar[]-struct in WriteEXCELFitResults() is not available\n",
         " Memory requested to store o_par[] in WriteEXCELFitResults() is not available\n",
         " Memory requested to store o_errpar[] in WriteEXCELFitResults() is not available\n",
         "Memory requested for re[] in ParToSignal not available\n",
         "Memory requested for im[] in ParToSignal not available\n",
         " Memory requested to store signal[] in Calculate_Time_Domain() is not available\n",
         " Memory requested to store signal[] in Calculate_Frequency_Domain() is not available\n",
         " Memory requested to store expi[] in Shift_Original() not available",
         " Memory requested to store expr[] in Shift_Original() not available",
         " Memory requested to store dummy_re[] in spec_fnc() not available\n"
         "Memory requested to store dummy_im[] in spec_fnc() not available\n"
         "Memory requested to store t_yre[] in spec_fnc() not available\n"
         "Memory requested to store t_yim[] in spec_fnc() not available\n"});
}

TEST(missing_storage, of_minimizers_gradient_and_bounds_is_named) {
    expect_texts(
        {.lineshape = true, .iterations = 1},
        {" Memory requested to store g[] in frprnm() is not available\n",
         " Memory requested to store h[] in frprmn() is not available\n",
         " Memory requested to store xi[] in frprmn() is not available\n",
         " Memory requested to store xt[] in func() is not available\n",
         " Memory requested to store store[] in dfnc() is not available\n",
         "Memory requested for store_yre not available in void dfnc\n",
         "Memory requested for store_yim not available in void dfnc\n",
         " Memory requested to store c_lsf[] in ParArrayToLineShapeFunction() is not available \n",
         " Memory requested to store gr_l_re[] in cr_mvb() is not available\n"
         " Memory requested to store gr_l_im[] in cr_mvb() is not available\n",
         " Memory requested to store covar[][] in cr_mvb() is not available\n",
         " Memory requested to store y[] in f_new_complex_select() is not available\n",
         " Memory requested to store yr[] in f_new_complex_select() is not available\n"
         " Memory requested to store yi[] in f_new_complex_select() is not available\n",
         " Memory requested to store counts[] in cr_mvb() is not available\n",
         " Memory requested to store open[] in gaussj not available\n",
         " Memory requested to store ipiv[] in gaussj not available\n",
         " Memory requested to store indxr[] in gaussj not available\n",
         " Memory requested to store indxc[] in gaussj not available\n"});
}

TEST(missing_storage, of_a_random_search_is_named) {
    expect_texts(
        {.random_step = true, .iterations = 1},
        {" Memory requested to store par_min[] in Ran_ML_Minimize( ) ...is not available.\n",
         " Memory requested to store par_max[] in Ran_ML_Minimize( ) ...is not available.\n",
         " Memory requested to store range[] in Ran_ML_Minimize( ) ...is not available.\n",
         " Memory requested to store reported[] in Ran_ML_Minimize( ) ...is not available.\n"});
}
