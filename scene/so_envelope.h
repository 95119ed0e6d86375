#pragma once
// Forwarding header: the declarations moved to base/so_envelope.h.
#include "base/so_envelope.h"
