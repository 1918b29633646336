// SPDX-License-Identifier: BSD-3-Clause
// sage_io.h -- header files of the SAGE/IDL environment, "Sage/IDL Header Version 0.1"
#pragma once

#include "run/types.h"

#include <cstdio>

// Checks the version of header file name and reads what the format lets it read into record.
//
// Returned: the result of closing the file (0), or of printing the failure message
// Errors:   a file that is missing or whose 15th word is not "0.1" ends the run with status -1
// Notes:    only the word behind the first one is compared with the section keys; in a file that
//           begins with comment lines no section matches and record keeps its contents.
int read_sageidl_header(const char *name, sage_header *record);

// Writes record as header file name; its own name goes into the data file section.
//
// Returned: the result of closing the file, or of printing the failure message
int write_sageidl_header(const char *name, const sage_header *record);

// The fields of one section, from a file that stands behind the section key.
void read_sagekey_datafiles(std::FILE *file, sage_header *record);
void read_sagekey_patient(std::FILE *file, sage_header *record);
void read_sagekey_sequence(std::FILE *file, sage_header *record);
void read_sagekey_display(std::FILE *file, sage_header *record);
void read_sagekey_datainfo(std::FILE *file, sage_header *record);
void read_sagekey_processing(std::FILE *file, sage_header *record);
// Accepts 0 or 1 user fields and reads none of them.
void read_sagekey_userinfo(std::FILE *file, sage_header *record);
// All four dimensions.
void read_sagekey_dimension(std::FILE *file, sage_header *record);
