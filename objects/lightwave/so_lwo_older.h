#pragma once
// Entry of the reader for object files of the older form type (LWOB), which
// fill the same record as LWO2 files.
#include "objects/lightwave/so_lwo_file.h"

// Reads an LWOB file. Returns an owned record or null. Files of this form are
// not read yet: every call returns null.
so_lwo_file* so_lwo_load_older(const char* path);
