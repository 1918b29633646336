// SPDX-License-Identifier: BSD-3-Clause
// scan.h -- words and numbers of text files, scanned as the C library's fscanf does
//
// A failed scan leaves its target and the stream where they are; the next scan starts at the same
// place. Reals are read in single precision and widened, so a number that was written with ten
// digits comes back with seven. A word longer than its width is split there.
#pragma once

#include <cstdio>

static constexpr int max_word = 1023; // characters of a word; the rest comes as the next word

// All return true when something was read.
bool scan_int(std::FILE *file, int &target);      // "%d"; out of range gives the nearest int
bool scan_real(std::FILE *file, double &target);  // "%f" through a float
bool scan_single(std::FILE *file, float &target); // "%f"
// "%<width>s" into text, which holds width + 1 characters.
bool scan_word(std::FILE *file, char *text, int width);
// "%1s": next non-blank character.
bool scan_character(std::FILE *file, char &target);
// Gives the last scanned character back, so that the next word is read whole.
void step_back(std::FILE *file, char last);
