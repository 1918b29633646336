// SPDX-License-Identifier: BSD-3-Clause
// check_system.h -- where a run takes place
#pragma once

// One word each from the files dir + "host", dir + "who" and dir + "domain" into host_name
// (32 bytes), user_name (32) and domain_name (64). A file that does not open leaves its
// destination. No run calls it: the three names stay empty in written files.
void init_system(const char *dir, char *domain_name, char *host_name, char *user_name);
