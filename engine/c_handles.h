// SPDX-License-Identifier: BSD-3-Clause
// c_handles.h -- what stands behind the handles of varokel.h, and the units between
#pragma once

#include "engine/optimum.h"
#include "engine/varokel.h"

#include "kernel/line_width.h"

#include <array>
#include <complex>
#include <exception>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

// The last failure of a handle.
struct varokel_failure {
    std::string message;
    int entry = -1;
};

struct varokel_problem {
    engine::fit_problem of;
    std::vector<std::string> names;
    varokel_failure failed;
};

struct varokel_options {
    engine::fit_options of;
    std::vector<engine::extra_start> starts; // in the units of varokel.h
};

struct varokel_workspace {
    engine::model_workspace of;
    varokel_failure failed;
};

struct varokel_fit {
    engine::model of;
    engine::optimum found;
    std::vector<std::string> names;
    double hz_per_point = 1.0;
};

namespace engine {

// A unit of the engine in those of varokel.h.
inline double unit_of(int q, double hz_per_point) {
    if (q == frequency || q == lorentz_width) return hz_per_point;
    return q == gauss_width ? kernel::gauss_fwhm_per_width * hz_per_point : 1.0;
}

// Runs a body that returns a status. Nothing that it throws comes through; the text of what it
// throws is kept where there is a place for it.
template <class Body>
int guarded(varokel_failure *failed, Body &&body) {
    const auto keep = [&](const char *text) {
        try {
            if (failed != nullptr) *failed = {text, -1};
        } catch (...) {
            failed->message.clear();
        }
    };
    try {
        return body();
    } catch (const std::bad_alloc &) {
        keep("there is not enough memory");
        return VAROKEL_NO_MEMORY;
    } catch (const std::exception &e) {
        keep(e.what());
    } catch (...) {
        keep("an error of no known kind");
    }
    return VAROKEL_FAILED;
}

// A new handle with its defaults.
template <class Handle>
int create(Handle **made) {
    if (made == nullptr) return VAROKEL_BAD_ARGUMENT;
    return guarded(nullptr, [&] {
        *made = new Handle;
        return VAROKEL_OK;
    });
}

// Complex points as pairs.
inline void put(std::span<const std::complex<double>> signal, double *pairs) {
    for (const std::complex<double> point : signal) {
        *pairs++ = point.real();
        *pairs++ = point.imag();
    }
}

inline int refuse(varokel_failure &failed, int status, std::string text, int entry = -1) {
    failed = {std::move(text), entry};
    return status;
}

} // namespace engine
