// The top level of the object-file reader: header, chunk loop, finishing.
#include <exception>
#include <new>

#include "objects/lightwave/so_lwo_chunks.h"
#include "objects/lightwave/so_lwo_nested.h"
#include "objects/lightwave/so_lwo_older.h"

namespace so3d::lwo {

namespace {

bool read_chunk(reader& r, so_lwo_file& file, so_lwo_layer*& layer, std::uint32_t chunk, std::uint32_t size,
                bool nested_forms) {
  switch (chunk) {
    case zFourCC("FORM"):
      if (nested_forms) return read_nested_form(r, file, size);
      skip(r, size);
      return !r.failed();
    case zFourCC("LAYR"): return read_layer(r, file, layer, size);
    case zFourCC("PNTS"): return read_points(r, *layer, size);
    case zFourCC("POLS"): return read_polygons(r, *layer, size);
    case zFourCC("PTAG"): return read_polygon_tags(r, *layer, file.tags, size);
    case zFourCC("TAGS"): return read_tags(r, file.tags, size);
    case zFourCC("VMAP"): return read_vertex_map(r, *layer, size, false);
    case zFourCC("VMAD"): return read_vertex_map(r, *layer, size, true);
    case zFourCC("BBOX"): return read_bounds(r, *layer, size);
    case zFourCC("SURF"): {
      auto surface = read_surface(r, size);
      if (!surface) return false;
      file.surfaces.push_back(std::move(surface));
      file.surface_count = static_cast<std::int32_t>(file.surfaces.size());
      return true;
    }
    case zFourCC("CLIP"): {
      auto clip = read_clip(r, size);
      if (!clip) return false;
      file.clips.push_back(std::move(clip));
      file.clip_count = static_cast<std::int32_t>(file.clips.size());
      return true;
    }
    case zFourCC("ENVL"): {
      auto envelope = read_envelope(r, size);
      if (!envelope) return false;
      append_envelope(file, std::move(envelope));
      return true;
    }
    default: skip(r, size); return !r.failed();
  }
}

// Reads the chunks of an LWO2 form whose header has been read.
std::unique_ptr<so_lwo_file> read_form(reader& r, std::uint32_t form_size, bool nested_forms) {
  auto file = std::make_unique<so_lwo_file>();
  file->layers.push_back(std::make_unique<so_lwo_layer>());
  so_lwo_layer* layer = file->layers.front().get();

  const bool read = walk_chunks(r, form_size, [&](std::uint32_t chunk, std::uint32_t size) {
    return read_chunk(r, *file, layer, chunk, size, nested_forms);
  });
  if (!read) return nullptr;
  close_reader(r);
  if (file->layer_count == 0) file->layer_count = 1;

  surface_binding binding;
  for (auto& l : file->layers) {
    if (!finish_layer(*file, *l, binding)) {
      r.fail(read_error::index_out_of_range);
      return nullptr;
    }
  }
  return file;
}

load_note& last_note() {
  thread_local load_note note;
  return note;
}

}  // namespace

const load_note& last_load() { return last_note(); }

void append_envelope(so_lwo_file& file, std::unique_ptr<so_envelope> envelope) {
  so_envelope* added = envelope.get();
  so_envelope* last = file.envelopes.empty() ? nullptr : file.envelopes.back().get();
  file.envelopes.push_back(std::move(envelope));  // may throw: link only once stored
  if (last) {
    added->prev = last;
    last->next = added;
  }
  file.envelope_count = static_cast<std::int32_t>(file.envelopes.size());
}

}  // namespace so3d::lwo

so_lwo_file* so_lwo_load(const char* path) { return so_lwo_load(path, nullptr); }

so_lwo_file* so_lwo_load(const char* path, so3d::read_failure* failure) {
  using namespace so3d::lwo;
  reader r;
  so_lwo_file* file = nullptr;
  try {
    if (open_reader(r, path)) {
      reader_guard guard{r};
      std::uint32_t form_size = 0, form_type = 0;
      if (read_form_header(r, form_size, form_type)) {
        if (form_type == zFourCC("LWO2"))
          file = read_form(r, form_size, false).release();
        else if (form_type == zFourCC("LWO3") && modern_forms_allowed())
          file = read_form(r, form_size, true).release();
        else if (form_type == zFourCC("LWOB"))
          file = read_older_form(r, form_size).release();
        else
          r.failure.set(so3d::read_error::unsupported_form, form_type, 8);
      }
    }
  } catch (const std::exception&) {  // memory ran short
    file = nullptr;
    r.failure.set(so3d::read_error::out_of_memory, r.chunk, r.position);
  }
  load_note& note = last_note();
  note = load_note{note.sequence + 1, file ? so3d::read_failure{} : r.failure};
  if (file) {
    for (const auto& layer : file->layers) {
      note.points += std::int64_t(layer->points.size());
      note.polygons += std::int64_t(layer->polygons.size());
    }
  }
  if (failure) *failure = note.failure;
  return file;
}

void so_lwo_release(so_lwo_file* file) { delete file; }
