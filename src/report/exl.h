// SPDX-License-Identifier: BSD-3-Clause
// exl.h -- the tab-separated table for spreadsheets
#pragma once

// Writes the table path + fnm + ".exl" from the module state: command words, fit mode, one
// summary line, one row of 19 columns per entry.
//
// Given:  quality     fit quality number after the fit
//         chi_square  of the last evaluation of the model, which leaves no point out   [signal^2]
// Errors: a file that cannot be opened is reported and skipped.
void write_spreadsheet(const double &quality, const double &chi_square);
