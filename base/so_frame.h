#pragma once
// Module-wide values that every layer may read: the frame plane and the
// file-open hook that the foundation installs at boot.
#include <cstdio>

#include "base/so3d_export.h"

// The frame plane in scene units (7.2 × 4.8: a 720 × 480 output seen from
// distance 10 with a 27-degree vertical field of view). Read wherever the
// frame is needed, unlocked: change them only while no scene is being loaded
// or drawn.
extern SO3D_API float soFrameWidth;
extern SO3D_API float soFrameHeight;

// Opens files for the object readers; null until boot, then the foundation's
// zFileStream::os_fopen. A host may install its own after boot, under the
// same rule as the frame plane.
using so_fopen_fn = std::FILE* (*)(const char* path, const char* mode);
extern SO3D_API so_fopen_fn so_fopen;

// Opens `path` for reading ("rb") through so_fopen, or fopen before boot.
std::FILE* so_open_for_reading(const char* path);
