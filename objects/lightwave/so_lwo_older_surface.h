#pragma once
// The older form's SURF chunk: flat attributes, textures named by a
// descriptive text, image clips made from file names and position envelopes
// made from texture velocities.
#include <cstdint>
#include <memory>
#include <string>

#include "objects/lightwave/so_lwo_file.h"
#include "objects/lightwave/so_lwo_read.h"

namespace so3d::lwo {

// Reads one SURF chunk of `size` bytes (rounded to even) from the reader's
// position. Clips and envelopes it makes are appended to `file` at once.
// Null on failure.
std::unique_ptr<so_lwo_surface> read_older_surface(reader& r, so_lwo_file& file, std::uint32_t size);

// Appends a clip made from a file name; returns its index (the clip count
// after adding it). A name containing "(sequence)" makes an ISEQ clip whose
// prefix is the name up to the byte before that text, with 3 digits; any
// other name a STIL clip.
std::int32_t add_named_clip(so_lwo_file& file, const std::string& name);

// Appends three linear position envelopes (X, Y, Z) that run from `center`
// at time 0 to center + velocity * 30 at time 1, numbered after the file's
// envelopes. Returns the index of the first, or 0 when memory is short
// (nothing is appended then).
std::int32_t add_velocity_envelopes(so_lwo_file& file, const float center[3], const float velocity[3]);

}  // namespace so3d::lwo
