#pragma once
#include "platform/foundation/z_export.h"
// Reference counting with string-keyed interface lookup.
//
// xIUnknown is the interface kind that host objects implement (slot 1
// QueryInterface, slot 2 AddRef, slot 3 Release). xCUnknown is the concrete
// base of reference-counted library objects: it starts with one reference,
// held by whoever made it, and deletes itself when the last one goes.
#include <atomic>
#include <cstdint>

class xIUnknown {
 public:
  // Looks up the interface `name`; on success writes it (with a reference
  // added) to *out and returns 0, else writes null and returns -1.
  virtual std::int32_t QueryInterface(const char* name, void** out) = 0;
  // Each returns the new count; Release destroys the object at 0. The
  // module ignores the results.
  virtual std::int32_t AddRef() = 0;
  virtual std::int32_t Release() = 0;

 protected:
  virtual ~xIUnknown() = default;
};

class Z_API xCUnknown {
 public:
  xCUnknown() = default;
  xCUnknown(const xCUnknown&) = delete;
  xCUnknown& operator=(const xCUnknown&) = delete;

  // Hands out `itf`: writes it to *out and adds a reference to this object.
  // Returns 0, or -1 (with *out null) when `itf` is null.
  virtual std::int32_t GetInterface(xIUnknown* itf, void** out);
  // Answers "xCUnknown" with this object; derived classes extend the lookup
  // and fall back to this one.
  virtual std::int32_t Concrete_QueryInterface(const char* name, void** out);

  // The count after the change; Concrete_Release deletes the object when it
  // reaches 0. The count is atomic: any thread may add or drop references,
  // as long as the object's other operations keep their own rules.
  std::int32_t Concrete_AddRef();
  std::int32_t Concrete_Release();
  std::int32_t ReferenceCount() const { return refs_.load(std::memory_order_acquire); }

 protected:
  virtual ~xCUnknown() = default;

 private:
  std::atomic<std::int32_t> refs_{1};
};
