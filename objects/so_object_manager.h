#pragma once
// soObjectManager: the registry of the drawable objects that scenes share.
// One drawable per object name, counted by its holders and destroyed when
// the last one lets go. Abstract: a device-specific manager decides how a
// plain object becomes a drawable, which handedness objects are built in and
// which texture registry their images go to. The order of the virtual
// operations is part of the exported interface.
//
// Results are 0 for success and -1 for failure unless stated otherwise. Not
// locked: one caller at a time, on the thread that loads and draws scenes.
#include <cstdint>
#include <vector>

#include "base/so3d_export.h"
#include "objects/so_object.h"

class soTextureManager;

// A holder of references in a registry that may outlive it (a scene): the
// registry calls `gone(owner)` from its destructor, before it destroys its
// objects, after which the holder must not use the registry or the objects
// it held (nor release them). The record is the holder's and must stay valid
// while attached.
struct so_registry_holder {
  void (*gone)(void* owner);
  void* owner;
};

// One registry entry: the registry's own bookkeeping.
struct _so_object_map {
  std::int32_t references;  // holders; 1 when the entry is made
  soObject* object;         // the registered drawable, owned by the registry
};

class SO3D_API soObjectManager {
 public:
  soObjectManager();
  soObjectManager(const soObjectManager&) = delete;
  soObjectManager& operator=(const soObjectManager&) = delete;
  // Tells every attached holder, then destroys every object still
  // registered, whatever its count, in the order they were registered.
  virtual ~soObjectManager();

  // The handedness code objects are built and loaded with.
  virtual std::int32_t ObjectHandedness() const = 0;
  // The registry that new objects register their images with.
  virtual soTextureManager& TextureManager() const = 0;

  // Objects handed out (CreateDrawable, FindObject) belong to the registry:
  // valid until their count drops to 0 or the registry is destroyed. Each
  // reference a caller obtains is given back with ReleaseObject.

  // Wraps `source` into a drawable registered with one reference and writes
  // it to *out. On success the registry owns the drawable (which owns
  // `source`). On failure (-1) *out is null, nothing is registered and
  // `source` stays with the caller. A null `source` or `out` fails.
  std::int32_t CreateDrawable(soObject* source, soObject** out);
  // The registered object whose name equals `name` (whole string,
  // case-sensitive), with one more reference; else a new, not yet loaded
  // soLightWaveObject named `name`, wrapped and registered with one
  // reference. The caller loads a new object and releases it when loading
  // fails. -1 when a null argument is given or the object or its drawable
  // cannot be made (*out is null then).
  std::int32_t FindObject(const char* name, soObject** out);
  // Adds a reference and returns the count before it. 0 for null (nothing
  // done); -1 for an object that is not registered.
  std::int32_t ReferenceObject(soObject* object);
  // Drops a reference and returns the count after it; at 0 the entry goes
  // and the object is destroyed. 0 for null (nothing done); -1 for an
  // object that is not registered.
  std::int32_t ReleaseObject(soObject* object);
  // Passes a device loss on to every registered object, in entry order.
  void ReleaseAllDeviceDependentResources();

  // Holders to tell when this registry is destroyed first (scenes attach
  // themselves when made and detach when destroyed). The registry keeps the
  // pointer, not a copy. 0, or -1 when memory is short (not attached).
  std::int32_t AttachHolder(so_registry_holder* holder);
  // Forgets `holder`; one never attached is ignored.
  void DetachHolder(so_registry_holder* holder);

 private:
  // Wraps `source` into a device-bound drawable that takes ownership of it.
  // Null when the drawable cannot be made; `source` then stays with the
  // caller.
  virtual soObject* create_drawable_object(soObject* source) = 0;

  // First entry whose object is named `name`; null when there is none.
  _so_object_map* get_map(const char* name);
  // The entry of `object`; null for null or an unregistered object.
  _so_object_map* get_map(soObject* object);

  std::vector<_so_object_map> entries;  // insertion order
  std::vector<so_registry_holder*> holders_;
};
