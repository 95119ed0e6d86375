#include "platform/foundation/z_critical.h"

std::unique_ptr<zCritical> zCritical::Factory(std::int32_t /*kind*/) { return std::make_unique<zCritical>(); }
