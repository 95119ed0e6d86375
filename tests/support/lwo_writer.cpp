#include "tests/support/lwo_writer.h"

#include <bit>
#include <stdexcept>

namespace so3d::test {

IffBytes& IffBytes::u1(std::uint8_t v) {
  bytes_.push_back(static_cast<char>(v));
  return *this;
}

IffBytes& IffBytes::u2(std::uint16_t v) { return u1(static_cast<std::uint8_t>(v >> 8)).u1(static_cast<std::uint8_t>(v)); }

IffBytes& IffBytes::u4(std::uint32_t v) {
  return u2(static_cast<std::uint16_t>(v >> 16)).u2(static_cast<std::uint16_t>(v));
}

IffBytes& IffBytes::f4(float v) { return u4(std::bit_cast<std::uint32_t>(v)); }

IffBytes& IffBytes::id(std::string_view four) {
  if (four.size() != 4) throw std::invalid_argument("identifier must have four characters");
  return raw(four);
}

IffBytes& IffBytes::index(std::uint32_t v) { return v < 0xFF00 ? u2(static_cast<std::uint16_t>(v)) : index4(v); }

IffBytes& IffBytes::index4(std::uint32_t v) { return u4(0xFF000000u | (v & 0x00FFFFFFu)); }

IffBytes& IffBytes::str(std::string_view s) {
  raw(s).u1(0);
  if ((s.size() + 1) % 2 != 0) u1(0);
  return *this;
}

IffBytes& IffBytes::raw(std::string_view bytes) {
  bytes_.append(bytes);
  return *this;
}

IffBytes& IffBytes::begin_chunk(std::string_view four) {
  id(four);
  open_.push_back({bytes_.size(), 4});
  return u4(0);
}

IffBytes& IffBytes::begin_sub(std::string_view four) {
  id(four);
  open_.push_back({bytes_.size(), 2});
  return u2(0);
}

void IffBytes::end(int size_bytes, std::optional<std::uint32_t> declared) {
  if (open_.empty() || open_.back().size_bytes != size_bytes) throw std::logic_error("unbalanced chunk");
  const open_chunk c = open_.back();
  open_.pop_back();
  const std::size_t length = bytes_.size() - c.size_at - static_cast<std::size_t>(size_bytes);
  const std::uint32_t size = declared.value_or(static_cast<std::uint32_t>(length));
  for (int i = 0; i < size_bytes; ++i)
    bytes_[c.size_at + static_cast<std::size_t>(i)] = static_cast<char>(size >> (8 * (size_bytes - 1 - i)));
  if (length % 2 != 0) u1(0);
}

IffBytes& IffBytes::end_chunk(std::optional<std::uint32_t> declared) {
  end(4, declared);
  return *this;
}

IffBytes& IffBytes::end_sub(std::optional<std::uint16_t> declared) {
  end(2, declared);
  return *this;
}

IffBytes& IffBytes::sub(std::string_view four, const std::function<void(IffBytes&)>& body) {
  begin_sub(four);
  if (body) body(*this);
  return end_sub();
}

LwoWriter& LwoWriter::chunk(std::string_view four, const std::function<void(IffBytes&)>& body,
                            std::optional<std::uint32_t> declared) {
  body_.begin_chunk(four);
  if (body) body(body_);
  body_.end_chunk(declared);
  ends_.push_back(body_.size());
  return *this;
}

LwoWriter& LwoWriter::layer(std::uint16_t number, std::string_view name, std::optional<std::uint16_t> parent) {
  return chunk("LAYR", [&](IffBytes& b) {
    b.u2(number).u2(0).f4(0).f4(0).f4(0).str(name);
    if (parent) b.u2(*parent);
  });
}

LwoWriter& LwoWriter::points(const std::vector<Vec3>& points) {
  return chunk("PNTS", [&](IffBytes& b) {
    for (const Vec3& p : points) b.f4(p.x).f4(p.y).f4(p.z);
  });
}

LwoWriter& LwoWriter::polygons(const std::vector<std::vector<std::uint32_t>>& polygons, std::string_view kind,
                               std::uint16_t flags) {
  return chunk("POLS", [&](IffBytes& b) {
    b.id(kind);
    for (const auto& polygon : polygons) {
      b.u2(static_cast<std::uint16_t>(flags | polygon.size()));
      for (std::uint32_t i : polygon) b.index(i);
    }
  });
}

LwoWriter& LwoWriter::tags(const std::vector<std::string>& names) {
  return chunk("TAGS", [&](IffBytes& b) {
    for (const std::string& n : names) b.str(n);
  });
}

LwoWriter& LwoWriter::ptag(std::string_view type, const std::vector<std::pair<std::uint32_t, std::uint32_t>>& records) {
  return chunk("PTAG", [&](IffBytes& b) {
    b.id(type);
    for (const auto& [polygon, tag] : records) b.index(polygon).index(tag);
  });
}

LwoWriter& LwoWriter::bbox(Vec3 min, Vec3 max) {
  return chunk("BBOX", [&](IffBytes& b) { b.f4(min.x).f4(min.y).f4(min.z).f4(max.x).f4(max.y).f4(max.z); });
}

LwoWriter& LwoWriter::vmap(std::string_view kind, std::uint16_t dimension, std::string_view name,
                           const std::vector<MapRecord>& records, bool per_polygon) {
  return chunk(per_polygon ? "VMAD" : "VMAP", [&](IffBytes& b) {
    b.id(kind).u2(dimension).str(name);
    for (const MapRecord& r : records) {
      b.index(r.point);
      if (per_polygon) b.index(r.polygon);
      for (float v : r.values) b.f4(v);
    }
  });
}

LwoWriter& LwoWriter::surface(std::string_view name, const std::function<void(IffBytes&)>& body) {
  return chunk("SURF", [&](IffBytes& b) {
    b.str(name).str("");
    if (body) body(b);
  });
}

std::string LwoWriter::bytes(std::optional<std::uint32_t> form_size) const {
  IffBytes out;
  out.id("FORM").u4(form_size.value_or(static_cast<std::uint32_t>(4 + body_.size()))).id(form_type_);
  out.raw(body_.bytes());
  return out.bytes();
}

std::vector<std::size_t> LwoWriter::chunk_ends() const {
  std::vector<std::size_t> out;
  for (std::size_t e : ends_) out.push_back(12 + e);
  return out;
}

namespace {

void write_lwob_polygon(IffBytes& b, const LwobPolygon& polygon) {
  b.u2(static_cast<std::uint16_t>(polygon.points.size()));
  for (std::uint16_t i : polygon.points) b.u2(i);
  b.u2(static_cast<std::uint16_t>(polygon.surface));
  if (polygon.surface >= 0) return;
  b.u2(static_cast<std::uint16_t>(polygon.details.size()));
  for (const LwobPolygon& detail : polygon.details) write_lwob_polygon(b, detail);
}

}  // namespace

LwobWriter& LwobWriter::chunk(std::string_view four, const std::function<void(IffBytes&)>& body,
                              std::optional<std::uint32_t> declared) {
  form_.chunk(four, body, declared);
  return *this;
}

LwobWriter& LwobWriter::srfs(const std::vector<std::string>& names) {
  return chunk("SRFS", [&](IffBytes& b) {
    for (const std::string& n : names) b.str(n);
  });
}

LwobWriter& LwobWriter::points(const std::vector<Vec3>& points) {
  form_.points(points);
  return *this;
}

LwobWriter& LwobWriter::polygons(const std::vector<LwobPolygon>& polygons) {
  return chunk("POLS", [&](IffBytes& b) {
    for (const LwobPolygon& polygon : polygons) write_lwob_polygon(b, polygon);
  });
}

LwobWriter& LwobWriter::surface(std::string_view name, const std::function<void(IffBytes&)>& body) {
  return chunk("SURF", [&](IffBytes& b) {
    b.str(name);
    if (body) body(b);
  });
}

std::string QuadObject(float w, float h) {
  LwoWriter lwo;
  lwo.tags({"One"})
      .points({{-w / 2, -h / 2, 0}, {-w / 2, h / 2, 0}, {w / 2, h / 2, 0}, {w / 2, -h / 2, 0}})
      .polygons({{0, 1, 2, 3}})
      .ptag("SURF", {{0, 0}})
      .surface("One");
  return lwo.bytes();
}

}  // namespace so3d::test
