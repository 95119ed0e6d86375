#pragma once
// Forwarding header: the declarations moved to base/so_surface.h.
#include "base/so_surface.h"
