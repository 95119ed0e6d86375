#pragma once
// The LWO3 form, read only where a host turns the modern reading on: the
// same geometry chunks as LWO2, and surfaces and clips as nested FORMs.
#include <cstdint>

#include "objects/lightwave/so_lwo_file.h"
#include "objects/lightwave/so_lwo_read.h"

namespace so3d::lwo {

// A top-level FORM chunk of `size` bytes at the reader's position: a SURF or
// CLIP form is added to `file`; any other form is stepped over. False when
// the form is malformed (the reader's failure says why).
bool read_nested_form(reader& r, so_lwo_file& file, std::uint32_t size);

// Whether so_lwo_load reads LWO3 files on this thread; off unless a scope
// turns it on (the opt-in modern reading of scenes and so3d's own tools).
bool modern_forms_allowed();
class modern_forms_scope {
 public:
  explicit modern_forms_scope(bool on);
  ~modern_forms_scope();
  modern_forms_scope(const modern_forms_scope&) = delete;
  modern_forms_scope& operator=(const modern_forms_scope&) = delete;

 private:
  bool before_;
};

}  // namespace so3d::lwo
