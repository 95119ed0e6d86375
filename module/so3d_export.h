#pragma once
// Forwarding header: the declarations moved to base/so3d_export.h.
#include "base/so3d_export.h"
