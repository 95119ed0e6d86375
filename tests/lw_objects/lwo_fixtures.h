#pragma once
// Object files for this folder's tests, over the shared LWO2 writer.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/lwo_writer.h"

namespace so3d::test {

struct ImageBlock {  // a colour texture layer; clip 0 makes it procedural
  std::string ordinal;
  std::uint32_t clip = 0;
  std::string channel = "COLR";
};

struct SurfaceSpec {
  std::string name;
  float color[3] = {1, 1, 1};
  float diffuse = 1, luminosity = 0, specular = 0, glossiness = 0.4f;
  std::uint16_t sidedness = 1;
  std::vector<ImageBlock> blocks = {};
};

// Polygon i of the latest POLS chunk takes tag tags[i].
inline void SurfaceTags(LwoWriter& w, const std::vector<std::uint32_t>& tags) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> records;
  for (std::uint32_t i = 0; i < tags.size(); ++i) records.emplace_back(i, tags[i]);
  w.ptag("SURF", records);
}

inline void Surface(LwoWriter& w, const SurfaceSpec& s) {
  w.surface(s.name, [&s](IffBytes& b) {
    b.sub("COLR", [&](IffBytes& c) { c.f4(s.color[0]).f4(s.color[1]).f4(s.color[2]).index(0); });
    b.sub("DIFF", [&](IffBytes& c) { c.f4(s.diffuse).index(0); });
    b.sub("LUMI", [&](IffBytes& c) { c.f4(s.luminosity).index(0); });
    b.sub("SPEC", [&](IffBytes& c) { c.f4(s.specular).index(0); });
    b.sub("GLOS", [&](IffBytes& c) { c.f4(s.glossiness).index(0); });
    b.sub("SIDE", [&](IffBytes& c) { c.u2(s.sidedness); });
    for (const ImageBlock& t : s.blocks) {
      b.sub("BLOK", [&t](IffBytes& k) {
        k.sub(t.clip != 0 ? "IMAP" : "PROC",
              [&t](IffBytes& h) { h.str(t.ordinal).sub("CHAN", [&t](IffBytes& c) { c.id(t.channel); }); });
        if (t.clip != 0) k.sub("IMAG", [&t](IffBytes& c) { c.index(t.clip); });
      });
    }
  });
}

// A clip of `kind` STIL (file name) or ISEQ (prefix).
inline void Clip(LwoWriter& w, std::uint32_t index, const char* kind, const std::string& name) {
  w.chunk("CLIP", [&](IffBytes& b) {
    b.u4(index).sub(kind, [&](IffBytes& c) {
      if (std::string(kind) == "ISEQ") c.u1(3).u1(0).u2(0).u2(1).u2(9);
      c.str(name);
      if (std::string(kind) == "ISEQ") c.str(".png");
    });
  });
}

}  // namespace so3d::test
