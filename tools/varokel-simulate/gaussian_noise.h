// SPDX-License-Identifier: BSD-3-Clause
// gaussian_noise.h -- normal deviates that are the same numbers on every machine
#pragma once

#include <cstdint>

namespace tools {

// Independent numbers of mean 0 and standard deviation 1. Only additions, multiplications,
// divisions and square roots, which IEEE arithmetic rounds alike everywhere; the logarithm is the
// kernel's, since that of the system's library may differ in its last digit.
class gaussian_noise {
  public:
    explicit gaussian_noise(std::uint64_t seed) : state_(seed) {}
    double next();

  private:
    std::uint64_t next_bits();
    double next_symmetric(); // uniform in [-1, 1)

    std::uint64_t state_;
    double spare_ = 0.0;
    bool has_spare_ = false;
};

} // namespace tools
