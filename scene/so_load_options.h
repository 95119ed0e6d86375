#pragma once
// Opt-in extensions of scene loading, for hosts that want them (so3d's own
// tools turn them on). With no options attached, a scene loads exactly as
// it always has.
//
//   so_load_report report;
//   so_load_options options;
//   options.modern_files = true;
//   options.content_dir = "/srv/effects";
//   options.report = &report;
//   scene->SetLoadOptions(&options);  // kept by pointer: it must outlive Load and LoadTextures
//   scene->Load(path, handedness);
//   scene->LoadTextures();
//   std::puts(report.Summary().c_str());
#include <cstdint>
#include <string>
#include <vector>

#include "base/so3d_export.h"
#include "base/so_read_error.h"

// What happened to one object line of a scene file.
enum class so_object_outcome : std::int32_t {
  loaded,
  not_found,      // no candidate path named a file that could be opened
  unreadable,     // a file was found but did not load: `failure` says why and where
  not_supported,  // a line form the faithful reader skips (later revisions, with the options off)
};

struct so_report_object {
  std::int32_t line = 0;           // 1-based line of the scene file
  std::string name;                // as written
  std::string path;                // where it was found ("" unless loaded or unreadable)
  std::vector<std::string> tried;  // every candidate path, in order
  so_object_outcome outcome = so_object_outcome::not_found;
  so3d::read_failure failure;  // for unreadable files
  std::int32_t points = 0, polygons = 0, surfaces = 0, triangles = 0;
  std::vector<std::string> screen_surfaces;  // surfaces that show a screen
  std::int32_t screen = 0;                   // the screen its ShowObject line names
};

struct so_report_image {
  std::string name;    // as the object file names it
  bool found = false;  // set by LoadTextures: the image was read and uploaded
};

struct so_report_line {
  std::int32_t line = 0;
  std::string keyword;  // first word of a line the reader does not use
};

struct SO3D_API so_load_report {
  std::string scene;           // the path given to Load
  std::int32_t revision = 0;   // the file's format revision (second line)
  so3d::read_failure failure;  // why the reading stopped early, if it did
  std::vector<so_report_object> objects;
  std::vector<so_report_image> images;
  std::vector<so_report_line> ignored;
  std::int32_t lights = 0;
  bool camera = false;  // an AddCamera line was read
  float ambient_intensity = 0.0f;
  float ambient_color[3] = {0, 0, 0};

  std::int32_t Count(so_object_outcome outcome) const;
  // Objects loaded with at least one surface that shows a screen.
  std::int32_t ScreenObjects() const;
  // One line: "fx.lws: 11 objects, 2 not found (a.lwo, b.lwo), 3 show screens".
  std::string Summary() const;
  // Things a person should know: no object loaded, none shows a screen.
  std::vector<std::string> Warnings() const;
  // Every object line, image and ignored line, one per text line.
  std::string Details() const;
};

struct so_load_options {
  // Scene revisions 4 and 5 (LoadObjectLayer with an item id, item-id
  // references) and LoadObject lines.
  bool modern_files = false;
  // After the faithful candidates: names relative to the scene's own folder,
  // then to this content folder and its Objects/ (empty: none).
  std::string content_dir;
  // Filled by Load (cleared first) and by LoadTextures; may be null.
  so_load_report* report = nullptr;
};
