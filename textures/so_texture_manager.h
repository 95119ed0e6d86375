#pragma once
// soTextureManager: the registry of the image textures that objects refer to
// by id, and the interface through which drawables bind textures to
// surfaces. Device textures are made, filled, bound and freed by a derived,
// device-specific manager.
//
// Reference counted: the maker holds the first reference and the last Release
// destroys the manager (never delete it). Every scene made on the manager
// holds a reference too, so it outlives the object registry that made it
// while scenes remain. AddDecorTexture and get_texture_entry take the
// registry's lock; every other operation expects one caller at a time.
#include <cstdint>
#include <memory>
#include <vector>

#include "base/so3d_export.h"
#include "base/so_records.h"
#include "platform/foundation/x_unknown.h"
#include "platform/foundation/z_critical.h"
#include "platform/foundation/z_string.h"

struct so_surface;

// One registered texture.
struct _ro_texture_entry {
  zString name;     // image file name as the object file or the host gave it
  std::int32_t id;  // never 0: 0 means "no texture" throughout the module
};

class SO3D_API soTextureManager : public xCUnknown {
 public:
  // How a screen texture's alpha is to be read. Chosen by the host when it
  // hands a texture in; stored and reported back, never interpreted here.
  enum so_alpha_type : std::int32_t {
    so_alpha_opaque = 0,         // ignore alpha
    so_alpha_straight = 1,       // colour not multiplied by alpha
    so_alpha_premultiplied = 2,  // colour already multiplied by alpha
  };

  // Every texture made from an image file is this many texels square.
  static constexpr std::int32_t file_texture_size = 256;

  // Starts with one reference, the maker's.
  soTextureManager();
  soTextureManager(const soTextureManager&) = delete;
  // Takes a copy of the other registry's entries and multitexturing switch;
  // this manager keeps its own lock, reference count and device textures.
  soTextureManager& operator=(const soTextureManager& other);

  // Makes the texture for `surface` of an object current on stage 0. Reports
  // its alpha type through `alpha` (required) and its pixel size and
  // coordinate extents through the others (each may be null). False when
  // there is none.
  virtual bool BindTexture(const so_surface& surface, const so_object_data& data, so_alpha_type* alpha,
                           std::int32_t* width, std::int32_t* height, float* u_extent, float* v_extent) = 0;
  // Forgets every texture that the host handed in.
  virtual void UnbindAll() = 0;
  // Uploaded images keep straight alpha: always false here.
  virtual bool UsingPremultipledAlpha() const;
  // Whether BindTexture would find a texture for this surface and object.
  virtual bool HasTexture(const so_surface& surface, const so_object_data& data) = 0;
  // Registers `name` under the caller's `id` unless an entry with `id`
  // exists (that entry keeps its name). Returns 0 either way, -1 only when
  // memory is short.
  virtual std::int32_t AddDecorTexture(const char* name, std::int32_t id);
  // Answers "xCUnknown" with this manager and one reference added (0); -1
  // with *out null for any other name.
  virtual std::int32_t QueryInterface(const char* iid, void** out);
  // Both return the count after the change; Release destroys the manager
  // when it reaches 0.
  virtual std::int32_t AddRef();
  virtual std::int32_t Release();

  // Registers `name` (copied) under a fresh non-zero id written to *id. The
  // same name twice gives two entries. 0, or -1 when `id` is null or memory
  // is short (nothing registered).
  std::int32_t AddTexture(const char* name, std::int32_t* id);
  // Registered entries, whether or not their images are uploaded.
  std::uint32_t TextureCount() const;
  // Id of the entry at `index` in registration order; 0 past the end.
  std::int32_t TextureIDAt(std::uint32_t index);
  // Loads the image of entry `id` into a device texture: first the stored
  // name under the drive-letter rule, then (with a `base_path`) under the
  // common-folder rule. 0 after the first success; -1 for an unknown id or
  // when neither candidate loads.
  std::int32_t OpenAndUploadTexture(std::int32_t id, const char* base_path);
  // The name entry `id` was registered under; null for an unknown id.
  const char* TextureName(std::int32_t id) const;
  // Loads the image of entry `id` from `path` as it stands, for lookups
  // beyond the two rules above (opt-in content folders). 0, or -1.
  std::int32_t UploadTextureFrom(std::int32_t id, const char* path);
  // Frees the device texture of entry `id` and removes the entry. 0, or -1
  // for an unknown id.
  std::int32_t UnloadAndDeleteTexture(std::int32_t id);
  // Whether drawables may bind a second texture stage (the antialiasing mask
  // or a decor texture); on when made.
  void SetMultitexturingEnabled(bool enabled);
  bool MultitexturingEnabled() const;

 protected:
  // Only the last Release destroys a manager.
  ~soTextureManager() override;

  // Device side, filled in by the derived manager.
  // Creates a width × height texture for `id`, one level, 32 bits per texel
  // in byte order B, G, R, A.
  virtual bool create_new_texture(std::int32_t width, std::int32_t height, std::int32_t id) = 0;
  // Address of the first row of the texture for `id`, writable until
  // unlock_bits_for; the distance between rows in bytes goes to *pitch.
  // Null when the pixels cannot be reached.
  virtual void* lock_bits_for(std::int32_t id, std::int32_t* pitch) = 0;
  virtual void unlock_bits_for(std::int32_t id) = 0;
  // Frees the device texture made for `id`. Does nothing here.
  virtual void delete_texture(std::int32_t id);

  // First entry with `id`, or null; under the lock. The entry stays valid
  // until it is unloaded or the manager dies.
  _ro_texture_entry* get_texture_entry(std::int32_t id);

  // Decodes the image file at `path` (UTF-8), stretches it to
  // file_texture_size squared and copies it into a new device texture for
  // `id`. False when the file cannot be decoded (before any texture is made),
  // the texture cannot be made, or its pixels cannot be reached; a texture
  // made before such a failure is left to the derived manager.
  bool make_bitmap(const char* path, std::int32_t id);

 private:
  _ro_texture_entry* find_entry(std::int32_t id) const;

  std::vector<std::unique_ptr<_ro_texture_entry>> entries_;
  std::unique_ptr<zCritical> lock_;
  bool multitexturing_ = true;
};
