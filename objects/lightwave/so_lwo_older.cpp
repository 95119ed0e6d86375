#include "objects/lightwave/so_lwo_older.h"

so_lwo_file* so_lwo_load_older(const char*) { return nullptr; }
