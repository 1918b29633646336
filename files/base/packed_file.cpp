// SPDX-License-Identifier: BSD-3-Clause
#include "files/base/packed_file.h"

#include "files/base/tool_error.h"

#include <algorithm>
#include <cstdio>

#ifdef VAROKEL_NIFTI
#include <zlib.h>
#endif

namespace tools {

[[noreturn]] static void refuse(const std::string &file) {
    throw tool_error(bad_input, file + ": cannot be read; is it yours to read?");
}

#ifdef VAROKEL_NIFTI

static constexpr std::size_t most_at_once = std::size_t{1} << 30; // gzread counts in int

static gzFile stream_of(void *stream) {
    return static_cast<gzFile>(stream);
}

packed_file::packed_file(const std::string &file, unsigned buffer)
    : stream_(gzopen(file.c_str(), "rb")) {
    if (stream_ == nullptr) refuse(file);
    gzbuffer(stream_of(stream_), buffer);
}

packed_file::~packed_file() {
    gzclose_r(stream_of(stream_));
}

std::size_t packed_file::read(void *bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const auto piece = static_cast<unsigned>(std::min(count - done, most_at_once));
        const int got = gzread(stream_of(stream_), static_cast<char *>(bytes) + done, piece);
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

bool packed_file::seek(long long place) {
    return gzseek(stream_of(stream_), static_cast<z_off_t>(place), SEEK_SET) == place;
}

#else

static std::FILE *stream_of(void *stream) {
    return static_cast<std::FILE *>(stream);
}

packed_file::packed_file(const std::string &file, unsigned)
    : stream_(std::fopen(file.c_str(), "rb")) {
    if (stream_ == nullptr) refuse(file);
    const int first = std::getc(stream_of(stream_)), second = std::getc(stream_of(stream_));
    std::rewind(stream_of(stream_));
    if (first != 0x1f || second != 0x8b) return;
    std::fclose(stream_of(stream_));
    throw tool_error(bad_input, file + ": packed by gzip, and this program was built without zlib; "
                                       "unpack it first, or build with zlib1g-dev installed");
}

packed_file::~packed_file() {
    std::fclose(stream_of(stream_));
}

std::size_t packed_file::read(void *bytes, std::size_t count) {
    return std::fread(bytes, 1, count, stream_of(stream_));
}

bool packed_file::seek(long long place) {
    return std::fseek(stream_of(stream_), static_cast<long>(place), SEEK_SET) == 0;
}

#endif

} // namespace tools
