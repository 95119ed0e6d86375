#pragma once
// Entry of the reader for object files of the older form type (LWOB), which
// fill the same record as LWO2 files: one layer (layer_count 1), polygons of
// kind FACE with flags 0, surfaces from the older SURF description, and the
// clips and envelopes that those surfaces imply. No vertex maps.
#include <memory>

#include "objects/lightwave/so_lwo_file.h"
#include "objects/lightwave/so_lwo_read.h"

namespace so3d::lwo {

// Reads the chunks of an LWOB form whose header `r` has just read. Null when
// the form is malformed (the reader's failure says why); may throw when
// memory is short.
std::unique_ptr<so_lwo_file> read_older_form(reader& r, std::uint32_t form_size);

}  // namespace so3d::lwo
