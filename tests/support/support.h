// SPDX-License-Identifier: BSD-3-Clause
// support.h -- what the tests share: captured output, temporary folders, an ending that returns
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace support {

// Runs f and returns everything that it printed on standard output (at file descriptor level, so
// output of child processes counts too).
std::string stdout_of(const std::function<void()> &f);

// Runs f with end_run replaced. Returns the exit status with which f ended the run, or no_end
// when it came back by itself.
constexpr int no_end = 1000000;
int end_status_of(const std::function<void()> &f);

// A fresh folder that is removed with everything in it; working_folder also makes it the current
// directory until the end of the block.
class temporary_folder {
  public:
    explicit temporary_folder(bool make_current = false);
    ~temporary_folder();
    temporary_folder(const temporary_folder &) = delete;
    temporary_folder &operator=(const temporary_folder &) = delete;
    const std::string &name() const { return name_; } // ends without a separator
    std::string file(const std::string &base) const { return name_ + "/" + base; }

  private:
    std::string name_, previous_;
};

void write_file(const std::string &name, const std::string &content);
std::string read_file(const std::string &name);
bool file_exists(const std::string &name);
// Little-endian float32 pairs, the format of every binary signal file.
void write_signal(const std::string &name, const std::vector<double> &re,
                  const std::vector<double> &im);
void read_signal(const std::string &name, std::vector<double> &re, std::vector<double> &im);

// All state of run/state.h back to zero, storage released: the state of a fresh process.
void reset_state();

// Own generator, the same numbers on every platform (splitmix64).
class random_numbers {
  public:
    explicit random_numbers(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next();
    double uniform(double lo, double hi);
    double normal(); // mean 0, standard deviation 1 (Box and Muller)
    int integer(int lo, int hi);

  private:
    std::uint64_t state_;
    double spare_ = 0.0;
    bool has_spare_ = false;
};

} // namespace support
