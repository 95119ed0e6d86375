#pragma once
// Per-screen settings records: the variable ids the module reads, the holder
// class a host may use, and how a record changes an item's transform. The
// host owns its records and passes them in so_screen_data; the module only
// reads them, during the call that receives them.
#include <cstdint>

#include "base/so3d_export.h"
#include "base/so_records.h"
#include "platform/foundation/z_record.h"
#include "platform/foundation/z_types.h"

// Variable ids of the settings records.
inline constexpr std::uint32_t so_id_build_in_out = zFourCC("soBl");  // rect
inline constexpr std::uint32_t so_id_pos = zFourCC("soPo");           // float point
inline constexpr std::uint32_t so_id_rot = zFourCC("soRo");           // float point
inline constexpr std::uint32_t so_id_scale = zFourCC("soSc");         // float point
inline constexpr std::uint32_t so_id_rot_off = zFourCC("soVo");       // float point
inline constexpr std::uint32_t so_id_trans = zFourCC("soST");         // float
inline constexpr std::uint32_t so_id_draw_mode = zFourCC("soDM");     // registered only
inline constexpr std::uint32_t so_id_scroll_pos = zFourCC("soFP");    // registered only
inline constexpr std::uint32_t so_id_crop_rect = zFourCC("soCR");     // rect
inline constexpr std::uint32_t so_id_border_decor = zFourCC("soBD");  // int32

// so_id_build_in_out: left and right are the direction and effects of the
// build in, top and bottom those of the build out. Directions (where the
// object comes from or leaves to; combinable): 0x10 left, 0x40 right, 0x100
// top, 0x4 bottom. Effects: 0x8 grow (double scale), 0x4 spin, 0x2 fade,
// 0x10 ease.
//
// so_id_border_decor: the host's decor id for the soft frame on texture
// stage 1 (soXIOGLDrawingFunctions::GetDecorTexture); 0 or absent gives the
// antialiasing mask.

// The build rectangle used when a record lacks obj_build_in_out.
inline constexpr zRect so_default_build_rect{340, 340, 2, 2};

// A holder of one settings record pointer; never owns the record, which must
// outlive the holder's use of it.
class SO3D_API soObjectSettings {
 public:
  soObjectSettings() = default;
  explicit soObjectSettings(zRecord* record) : soObjectSettings(static_cast<const zRecord*>(record)) {}
  explicit soObjectSettings(const zRecord* record) : record_(const_cast<zRecord*>(record)) {}
  soObjectSettings(const soObjectSettings&) = default;
  soObjectSettings& operator=(const soObjectSettings&) = default;
  virtual ~soObjectSettings() = default;

  // The record held; null when none.
  virtual zRecord* Record() const { return record_; }
  // The record held; only when there is one.
  zRecord& operator()() const { return *record_; }
  void SetRecord(zRecord* record) { record_ = record; }

  // Registers the names of the settings variables with zStringID::Default().
  // Boot does so; hosts need not.
  static void InitalizeRecordNames();

 private:
  zRecord* record_ = nullptr;
};

// Applies a settings record to an item's transform: position, rotation
// (pitch, heading) and rotation offset are added in x and y, scale
// multiplied in x and y, opacity multiplied, and the crop rectangle (when
// present) added to the four crop margins. A null record changes nothing.
SO3D_API void so_apply_settings(so_vectors& v, const zRecord* record);
