#pragma once
// Builds object files from short descriptions, for synthetic and malformed
// inputs. IffBytes writes big-endian fields and nested chunks whose sizes are
// patched on close; LwoWriter adds the chunks of the LWO2 form on top. The
// byte layer knows no form, so other forms (LWOB) get their own chunk helpers
// over the same IffBytes.
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace so3d::test {

class IffBytes {
 public:
  IffBytes& u1(std::uint8_t v);
  IffBytes& u2(std::uint16_t v);
  IffBytes& u4(std::uint32_t v);
  IffBytes& f4(float v);
  IffBytes& id(std::string_view four);  // exactly four characters
  // Variable-length index: 2 bytes below 0xFF00, else 0xFF and 3 bytes.
  IffBytes& index(std::uint32_t v);
  IffBytes& index4(std::uint32_t v);  // the 4-byte form whatever the value
  // Zero-terminated, padded to even; "" writes two zero bytes.
  IffBytes& str(std::string_view s);
  IffBytes& raw(std::string_view bytes);

  // A chunk (U4 size) or sub-chunk (U2 size). end_* patches the size with
  // the data length, or with `declared` when given, and pads odd data.
  IffBytes& begin_chunk(std::string_view four);
  IffBytes& end_chunk(std::optional<std::uint32_t> declared = {});
  IffBytes& begin_sub(std::string_view four);
  IffBytes& end_sub(std::optional<std::uint16_t> declared = {});
  // A whole sub-chunk whose data `body` writes.
  IffBytes& sub(std::string_view four, const std::function<void(IffBytes&)>& body);

  const std::string& bytes() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }

 private:
  struct open_chunk {
    std::size_t size_at;
    int size_bytes;
  };
  void end(int size_bytes, std::optional<std::uint32_t> declared);

  std::string bytes_;
  std::vector<open_chunk> open_;
};

struct Vec3 {
  float x, y, z;
};

// One record of a vertex map: point, polygon (per-polygon maps only), values.
struct MapRecord {
  std::uint32_t point;
  std::uint32_t polygon;
  std::vector<float> values;
};

class LwoWriter {
 public:
  explicit LwoWriter(std::string_view form_type = "LWO2") : form_type_(form_type) {}

  LwoWriter& layer(std::uint16_t number, std::string_view name = "", std::optional<std::uint16_t> parent = {});
  LwoWriter& points(const std::vector<Vec3>& points);
  // Each polygon lists its point indexes; `flags` goes into the top six bits
  // of every count word.
  LwoWriter& polygons(const std::vector<std::vector<std::uint32_t>>& polygons, std::string_view kind = "FACE",
                      std::uint16_t flags = 0);
  LwoWriter& tags(const std::vector<std::string>& names);
  LwoWriter& ptag(std::string_view type, const std::vector<std::pair<std::uint32_t, std::uint32_t>>& records);
  LwoWriter& bbox(Vec3 min, Vec3 max);
  LwoWriter& vmap(std::string_view kind, std::uint16_t dimension, std::string_view name,
                  const std::vector<MapRecord>& records, bool per_polygon = false);
  // A SURF chunk named `name`; `body` writes its sub-chunks.
  LwoWriter& surface(std::string_view name, const std::function<void(IffBytes&)>& body = {});
  // Any chunk; `body` writes its data; `declared` overrides the size field.
  LwoWriter& chunk(std::string_view four, const std::function<void(IffBytes&)>& body,
                   std::optional<std::uint32_t> declared = {});

  // The whole file; `form_size` overrides the FORM size field.
  std::string bytes(std::optional<std::uint32_t> form_size = {}) const;
  // Offsets in bytes() at which each chunk (pad included) ends.
  std::vector<std::size_t> chunk_ends() const;

 private:
  std::string form_type_;
  IffBytes body_;
  std::vector<std::size_t> ends_;  // within body_
};

// One polygon of an LWOB POLS chunk. `surface` (counting from 1) is written
// as given; a negative one is followed by the count of `details` and then
// their records.
struct LwobPolygon {
  std::vector<std::uint16_t> points;
  std::int16_t surface = 1;
  std::vector<LwobPolygon> details;
};

// The older form: one layer, surface names in SRFS, 16-bit point indexes,
// and SURF chunks with a name only (their sub-chunks are the body's).
class LwobWriter {
 public:
  LwobWriter& srfs(const std::vector<std::string>& names);
  LwobWriter& points(const std::vector<Vec3>& points);
  LwobWriter& polygons(const std::vector<LwobPolygon>& polygons);
  LwobWriter& surface(std::string_view name, const std::function<void(IffBytes&)>& body = {});
  LwobWriter& chunk(std::string_view four, const std::function<void(IffBytes&)>& body,
                    std::optional<std::uint32_t> declared = {});

  std::string bytes(std::optional<std::uint32_t> form_size = {}) const { return form_.bytes(form_size); }
  std::vector<std::size_t> chunk_ends() const { return form_.chunk_ends(); }

 private:
  LwoWriter form_{"LWOB"};
};

// A flat w × h quad on the surface "One", centred on the origin.
std::string QuadObject(float w = 2, float h = 1);

}  // namespace so3d::test
