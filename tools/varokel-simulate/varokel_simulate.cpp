// SPDX-License-Identifier: BSD-3-Clause
// varokel_simulate.cpp -- spectra from the start values of a control file, with known noise
#include "files/base/output_file.h"
#include "files/base/tool_error.h"
#include "common/command_line.h"
#include "varokel-simulate/simulated_files.h"

#include <iostream>

static int simulate(const tools::simulate_options &options) {
    const std::string format = tools::format_of_output(options);
    tools::check_usage(options, format);
    const tools::simulated_model model(options.start);
    std::vector<tools::output_file> files = tools::simulated_files(options, model, format);
    if (!options.truth_file.empty())
        files.push_back(
            {options.truth_file,
             model.truth({options.noise_sd, options.seed},
                         options.count * tools::geometry_of_options(options).voxels())});
    std::vector<std::string> inputs = model.pattern_files();
    inputs.insert(inputs.begin(), options.start);
    tools::write_files(files, inputs, options.force);
    for (const tools::output_file &file : files) std::cout << file.name << '\n';
    return tools::all_right;
}

int main(int argc, char **argv) {
    tools::simulate_options options;
    tools::option_parser app(
        "Simulates a spectrum from the start values of a control file, the links of "
        "dependent parameters followed,\nand adds Gaussian noise. Points behind the fitted "
        "ones, when the noise window lies there, hold noise only.",
        "varokel-simulate");
    tools::add_simulate_options(app, options);
    tools::common_options(app, "  varokel-simulate examples/single_line/start.par -o line.bin "
                               "--noise 0.01 --seed 1\n"
                               "  varokel-simulate examples/single_line/start.par -o line.nii.gz "
                               "--noise 0.01 --seed 1 --count 8 --frequency 123.2 --nucleus 1H");

    return tools::run_tool(app, argc, argv, [&] { return simulate(options); });
}
