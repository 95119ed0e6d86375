#pragma once
// Forwarding header: the declarations moved to base/so_records.h.
#include "base/so_records.h"
