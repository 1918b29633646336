// SPDX-License-Identifier: BSD-3-Clause
// packed_file.cpp -- bytes of a file that gzip may have packed
#include "files/base/packed_file.h"

#include "files/base/file_descriptor.h"
#include "files/base/input_file.h"
#include "files/base/tool_error.h"

#include <algorithm>
#include <cstdio>

#ifdef VAROKEL_NIFTI
#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>
#endif

namespace tools {

[[noreturn]] static void refuse(const std::string &file) {
    refuse_input(file, "cannot be read; is it yours to read?");
}

#ifdef VAROKEL_NIFTI

static constexpr std::size_t most_at_once = std::size_t{1} << 30; // gzread counts in int

static gzFile stream_of(void *stream) {
    return static_cast<gzFile>(stream);
}

packed_file::packed_file(const std::string &file, unsigned buffer) : file_(file) {
    refuse_no_file(file);
    stream_ = gzopen(file.c_str(), "rb");
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

// Copies the first `most` bytes that come out of a stream, or all. Returns whether it did.
static bool copy_out(gzFile from, int to, long long most) {
    std::string piece(std::size_t{1} << 18, '\0');
    while (most > 0) {
        const auto wanted = std::min(most, static_cast<long long>(piece.size()));
        const int got = gzread(from, piece.data(), static_cast<unsigned>(wanted));
        if (got <= 0) return got == 0;
        most -= got;
        if (!write_all(to, {piece.data(), static_cast<std::size_t>(got)})) return false;
    }
    return true;
}

void packed_file::unpack(long long most) {
    if (gzdirect(stream_of(stream_)) == 1) return;
    const char *const place = std::getenv("TMPDIR");
    file_descriptor copy(::open(place != nullptr && *place != '\0' ? place : "/tmp",
                                O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!copy.is_open()) return;
    const gzFile from = gzopen(file_.c_str(), "rb");
    if (from == nullptr) return;
    const bool whole = copy_out(from, copy.number(), most);
    gzclose_r(from);
    if (!whole || lseek(copy.number(), 0, SEEK_SET) != 0) return;
    const gzFile again = gzdopen(copy.number(), "rb");
    if (again == nullptr) return;
    copy.release();
    gzclose_r(stream_of(stream_));
    stream_ = again;
}

#else

static std::FILE *stream_of(void *stream) {
    return static_cast<std::FILE *>(stream);
}

packed_file::packed_file(const std::string &file, unsigned) : file_(file) {
    refuse_no_file(file);
    stream_ = std::fopen(file.c_str(), "rb");
    if (stream_ == nullptr) refuse(file);
    const int first = std::getc(stream_of(stream_)), second = std::getc(stream_of(stream_));
    std::rewind(stream_of(stream_));
    if (first != 0x1f || second != 0x8b) return;
    std::fclose(stream_of(stream_));
    refuse_input(file, "packed by gzip, and this program was built without zlib; unpack it first, "
                       "or build with zlib1g-dev installed");
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

void packed_file::unpack(long long) {}

#endif

} // namespace tools
