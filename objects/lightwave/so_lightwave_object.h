#pragma once
// Forwarding header: the declarations moved to objects/so_lightwave_object.h.
#include "objects/so_lightwave_object.h"
