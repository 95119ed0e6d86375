#include "objects/lightwave/so_lwo_read.h"

#include <bit>
#include <cstring>
#include <new>

#include "base/so_frame.h"
#include "platform/foundation/z_types.h"
#include "platform/memory/large_blocks.h"

namespace so3d::lwo {

void reader::count(std::uint64_t n) {
  if (failed()) return;
  if (n > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max() - bytes_read)) {
    fail(read_error::bad_value);
    return;
  }
  bytes_read += static_cast<std::int32_t>(n);
}

bool read_form_header(reader& r, std::uint32_t& form_size, std::uint32_t& form_type) {
  r.bytes_read = 0;
  const std::uint32_t form = read_u4(r);
  form_size = read_u4(r);
  form_type = read_u4(r);
  if (r.bytes_read != 12) return false;
  if (form != zFourCC("FORM")) {
    r.position = 0;
    r.fail(read_error::bad_header);
    return false;
  }
  return true;
}

bool open_reader(reader& r, const char* path) {
  r = reader{};
  std::FILE* f = so_open_for_reading(path);
  if (!f) {
    r.failure.set(read_error::cannot_open, 0, 0);
    return false;
  }
  long length = -1;
  if (std::fseek(f, 0, SEEK_END) == 0) length = std::ftell(f);
  if (length < 0 || std::fseek(f, 0, SEEK_SET) != 0) {
    std::fclose(f);
    r.failure.set(read_error::cannot_open, 0, 0);
    return false;
  }
  r.file = f;
  r.size = static_cast<std::uint64_t>(length);
  return true;
}

void close_reader(reader& r) {
  if (r.file) std::fclose(r.file);
  r.file = nullptr;
}

namespace {

// Reads exactly n bytes into `out`; anything less is a failure.
bool read_exact(reader& r, void* out, std::size_t n) {
  if (r.failed()) return false;
  if (n > r.remaining() || std::fread(out, 1, n, r.file) != n) {
    r.fail();
    return false;
  }
  r.position += n;
  r.count(n);
  return !r.failed();
}

}  // namespace

float load_f4(const std::uint8_t* p) { return std::bit_cast<float>(load_u4(p)); }

std::uint8_t read_u1(reader& r) {
  std::uint8_t b[1];
  return read_exact(r, b, 1) ? b[0] : 0;
}

std::uint16_t read_u2(reader& r) {
  std::uint8_t b[2];
  return read_exact(r, b, 2) ? load_u2(b) : 0;
}

std::int16_t read_i2(reader& r) { return static_cast<std::int16_t>(read_u2(r)); }

std::uint32_t read_u4(reader& r) {
  std::uint8_t b[4];
  return read_exact(r, b, 4) ? load_u4(b) : 0;
}

float read_f4(reader& r) {
  std::uint8_t b[4];
  return read_exact(r, b, 4) ? load_f4(b) : 0.0f;
}

std::uint32_t read_index(reader& r) {
  std::uint8_t b[4];
  if (!read_exact(r, b, 2)) return 0;
  if (b[0] != 0xFF) return load_u2(b);
  if (!read_exact(r, b + 2, 2)) return 0;
  return load_u4(b) & 0x00FFFFFFu;
}

std::string read_string(reader& r) {
  std::string text;
  for (;;) {
    if (r.failed()) return {};
    if (r.remaining() == 0) {
      r.fail();
      return {};
    }
    const int c = std::getc(r.file);
    if (c == EOF) {
      r.fail();
      return {};
    }
    ++r.position;
    r.count(1);
    if (c == 0) break;
    text.push_back(static_cast<char>(c));
  }
  if ((text.size() + 1) % 2 != 0) read_u1(r);  // pad byte
  if (r.failed()) return {};
  return text;
}

block read_block(reader& r, std::int64_t size) {
  block out;
  if (r.failed()) return out;
  if (size <= 0 || static_cast<std::uint64_t>(size) > r.remaining()) {
    r.fail(read_error::bad_chunk_size);
    return out;
  }
  out.data.reset(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(size)]);
  if (!out.data) {
    r.fail(read_error::out_of_memory);
    return out;
  }
  out.size = static_cast<std::size_t>(size);
  so3d::advise_large_block(out.data.get(), out.size);
  if (!read_exact(r, out.data.get(), out.size)) return block{};
  return out;
}

std::vector<std::uint8_t> read_rest(reader& r, std::int64_t size) {
  if (r.failed()) return {};
  if (size < 0 || static_cast<std::uint64_t>(size) > r.remaining()) {
    r.fail(read_error::bad_chunk_size);
    return {};
  }
  std::vector<std::uint8_t> out(static_cast<std::size_t>(size));
  if (!out.empty() && !read_exact(r, out.data(), out.size())) return {};
  return out;
}

void skip(reader& r, std::uint64_t n) {
  if (r.failed() || n == 0) return;
  if (n > r.remaining() || n > static_cast<std::uint64_t>(std::numeric_limits<long>::max()) ||
      std::fseek(r.file, static_cast<long>(n), SEEK_CUR) != 0) {
    r.fail();
    return;
  }
  r.position += n;
}

namespace {

// Claims n bytes at the cursor, or fails when fewer are left.
const std::uint8_t* take(reader& r, cursor& c, std::size_t n) {
  if (r.failed()) return nullptr;
  if (n > c.left()) {
    r.fail();
    return nullptr;
  }
  const std::uint8_t* p = c.pos;
  c.pos += n;
  r.count(n);
  return r.failed() ? nullptr : p;
}

}  // namespace

std::uint16_t take_u2(reader& r, cursor& c) {
  const std::uint8_t* p = take(r, c, 2);
  return p ? load_u2(p) : 0;
}

std::uint32_t take_u4(reader& r, cursor& c) {
  const std::uint8_t* p = take(r, c, 4);
  return p ? load_u4(p) : 0;
}

float take_f4(reader& r, cursor& c) {
  const std::uint8_t* p = take(r, c, 4);
  return p ? load_f4(p) : 0.0f;
}

std::uint32_t take_index(reader& r, cursor& c) {
  if (r.failed()) return 0;
  if (c.left() > 0 && c.pos[0] == 0xFF) {
    const std::uint8_t* p = take(r, c, 4);
    return p ? load_u4(p) & 0x00FFFFFFu : 0;
  }
  return take_u2(r, c);
}

std::string take_string(reader& r, cursor& c) {
  if (r.failed()) return {};
  const void* zero = c.left() > 0 ? std::memchr(c.pos, 0, c.left()) : nullptr;
  if (!zero) {
    r.fail();
    return {};
  }
  const std::size_t length = static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - c.pos);
  const std::uint8_t* p = take(r, c, round_even(length + 1));
  if (!p) return {};
  return std::string(reinterpret_cast<const char*>(p), length);
}

}  // namespace so3d::lwo
