#pragma once
#include "platform/foundation/z_export.h"
// zRecord: a small set of typed variables keyed by four-character ids. Hosts
// build settings records with it; the module only reads them. Not locked:
// leave a record unchanged while the module reads it. Like the standard
// containers it wraps, adding a variable throws std::bad_alloc when memory is
// short.
#include <cstdint>
#include <utility>
#include <vector>

// A rectangle; settings also use it to carry four integers at once.
struct zRect {
  std::int32_t left = 0;
  std::int32_t top = 0;
  std::int32_t right = 0;
  std::int32_t bottom = 0;

  constexpr zRect() = default;
  constexpr zRect(std::int32_t l, std::int32_t t, std::int32_t r, std::int32_t b)
      : left(l), top(t), right(r), bottom(b) {}
  friend constexpr bool operator==(const zRect&, const zRect&) = default;
};

struct zFloatPoint {
  float x = 0.0f;
  float y = 0.0f;

  constexpr zFloatPoint() = default;
  constexpr zFloatPoint(float px, float py) : x(px), y(py) {}
  friend constexpr bool operator==(const zFloatPoint&, const zFloatPoint&) = default;
};

// One value. A default-constructed variable is empty: every As* returns the
// caller's default. Integers and floats convert into each other (floats to
// integers truncate; out-of-range and NaN floats give the default); points
// and rectangles answer only their own kind.
class Z_API zVariable {
 public:
  enum class Kind : std::uint8_t { kEmpty, kInt32, kFloat, kFloatPoint, kRect };

  zVariable() = default;
  static zVariable FromInt32(std::int32_t v);
  static zVariable FromFloat(float v);
  static zVariable FromFloatPoint(zFloatPoint v);
  static zVariable FromRect(zRect v);

  Kind GetKind() const { return kind_; }
  bool IsEmpty() const { return kind_ == Kind::kEmpty; }

  std::int32_t AsInt32(std::int32_t def = 0) const;
  float AsFloat(float def = 0.0f) const;
  zFloatPoint AsFloatPoint(zFloatPoint def = {}) const;
  zRect AsRect(zRect def = {}) const;

 private:
  Kind kind_ = Kind::kEmpty;
  std::int32_t int_ = 0;
  float f_[2] = {0.0f, 0.0f};
  zRect rect_;
};

class Z_API zRecord {
 public:
  // Setting an id that is present replaces its value in place.
  void Set(std::uint32_t id, const zVariable& value);
  void SetInt32(std::uint32_t id, std::int32_t v) { Set(id, zVariable::FromInt32(v)); }
  void SetFloat(std::uint32_t id, float v) { Set(id, zVariable::FromFloat(v)); }
  void SetFloatPoint(std::uint32_t id, zFloatPoint v) { Set(id, zVariable::FromFloatPoint(v)); }
  void SetRect(std::uint32_t id, zRect v) { Set(id, zVariable::FromRect(v)); }
  // False when the record lacks `id`.
  bool Remove(std::uint32_t id);
  void Clear() { vars_.clear(); }

  // The variable of `id`, or null; valid until the record changes.
  const zVariable* Variable(std::uint32_t id) const;
  std::size_t Count() const { return vars_.size(); }

  // Looks up `count` ids at once: out[i] is the variable of ids[i], or
  // `missing` where the record lacks it. Null arrays or count <= 0 do nothing.
  void VariableGetList(const std::uint32_t* ids, const zVariable** out, std::int32_t count,
                       const zVariable* missing) const;

  // The value of `id` as zVariable converts it, or `def` when it is absent.
  std::int32_t AsInt32(std::uint32_t id, std::int32_t def = 0) const;
  float AsFloat(std::uint32_t id, float def = 0.0f) const;
  zFloatPoint AsFloatPoint(std::uint32_t id, zFloatPoint def = {}) const;
  zRect AsRect(std::uint32_t id, zRect def = {}) const;

 private:
  std::vector<std::pair<std::uint32_t, zVariable>> vars_;
};
