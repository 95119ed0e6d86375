#pragma once
// The foundation classes the module builds on.
#include "platform/foundation/x_unknown.h"
#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_critical.h"
#include "platform/foundation/z_file_stream.h"
#include "platform/foundation/z_fs_path.h"
#include "platform/foundation/z_id_generator.h"
#include "platform/foundation/z_record.h"
#include "platform/foundation/z_stacker_debug_stats.h"
#include "platform/foundation/z_string.h"
#include "platform/foundation/z_string_id.h"
#include "platform/foundation/z_types.h"
