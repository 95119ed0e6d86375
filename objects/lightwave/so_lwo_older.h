#pragma once
// Entry of the reader for object files of the older form type (LWOB), which
// fill the same record as LWO2 files: one layer (layer_count 1), polygons of
// kind FACE with flags 0, surfaces from the older SURF description, and the
// clips and envelopes that those surfaces imply. No vertex maps.
#include "objects/lightwave/so_lwo_file.h"

// Reads an LWOB file, opening it itself. Returns an owned record (release it
// with so_lwo_release), or null when the file cannot be opened, is not an
// LWOB form or is malformed; nothing is left allocated then. Never throws.
so_lwo_file* so_lwo_load_older(const char* path);
