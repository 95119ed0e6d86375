#include "module/so_module.h"

#include "platform/foundation/z_boot.h"
#include "platform/foundation/z_file_stream.h"
#include "platform/foundation/z_string_id.h"
#include "scene/so_object_settings.h"

// Registered by a static initialiser, so loading the library is enough.
namespace {
const zBoot so_boot_registration(&soModule::Boot, &soModule::Shutdown, so_module_code);
}  // namespace

void soModule::Boot() {
  zBoot::Depends(zCore::kModuleCode, &zCore::Boot);
  soObjectSettings::InitalizeRecordNames();
  zStringID::Default()->Add(static_cast<std::int32_t>(so_id_border_decor), "border_decor");
  // Linked statically here, the foundation's function always exists.
  so_fopen = &zFileStream::os_fopen;
}

void soModule::Shutdown() {}
