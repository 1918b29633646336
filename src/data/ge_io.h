// SPDX-License-Identifier: BSD-3-Clause
// ge_io.h -- complex signals in binary files
//
// A file holds little-endian IEEE 754 single-precision numbers, real and imaginary part of a
// point in turn, point 0 first; no header, no stored length.
#pragma once

// Reads *count floats (two per complex point) into buffer.
//
// Given:    header  not 0 = the first 1024 bytes are skipped
// Returned: 0, or -1 on a short file: what arrived stands at the start of buffer, the rest of it
//           is as it was, and the two counts are printed
// Errors:   a file that cannot be opened for reading and update sets *count to 0 and ends the
//           run with status 1
int readge_(const char *name, float *buffer, int *count, int header);

// Writes *count floats; not header 0 = the floats start at byte 1024.
//
// Returned: 0, or -1 when they could not be written whole (said on standard output)
// Notes:    a file that cannot be created is replaced by temp.con in the working directory
int writege_(const char *name, const float *buffer, int *count, int header);

// The same under the names by which the driver calls them.
inline int readge(const char *name, float *buffer, int *count, int header) {
    return readge_(name, buffer, count, header);
}
inline int writege(const char *name, const float *buffer, int *count, int header) {
    return writege_(name, buffer, count, header);
}
