#pragma once
// The umbrella header a host includes.
#include "module/so_module.h"
#include "scene/so_object_settings.h"
#include "scene/so_records.h"
