#pragma once
// Rules that map a file name stored by the authoring machine (often a drive
// letter, a colon and a folder path) onto a file on this machine. Components
// are split at '/' and '\\' alike; `separator` is what the rules join them
// with and what every separator of the stored name becomes.
//
// A rule that does not apply leaves `out` unchanged; callers pass an empty
// string and treat an empty result as "no candidate".
#include <string>
#include <vector>

#include "platform/foundation/z_fs_path.h"
#include "platform/foundation/z_string.h"

// Drive-letter rule: "C:Images/wood.jpg" becomes "C:\Images\wood.jpg" (with a
// backslash separator). Applies only when the second character is ':'.
void resolve_absolute_path(const char* name, zString& out, const char* separator = zFSPath::DirectoryString());

// Common-folder rule: re-roots the stored path at the deepest of its folders
// whose name (compared case-sensitively) is also a folder of `base_path`.
// "X:Content/Images/wood.jpg" with base "D:\Work\Content\Scenes\intro.lws"
// gives "D:\Work\Content\Images\wood.jpg". Applies only when `name` holds a
// ':' and such a folder exists; `base_path` may be null.
void resolve_relative_to_base(const char* name, zString& out, const char* base_path,
                              const char* separator = zFSPath::DirectoryString());

// Same-folder rule: appends to `out` the folder of `base_path` and the leaf of
// `name`: "C:/Models/cube.lwo" beside "D:\Shows\intro.lws" gives
// "D:\Shows\cube.lwo". Always applies; a `base_path` with no folder at all
// (null, or a bare file name) yields the leaf alone, relative to the current
// folder.
void resolve_beside_base(const char* name, zString& out, const char* base_path,
                         const char* separator = zFSPath::DirectoryString());

// Opt-in rules, tried after the ones above: `name` (either separator) read
// relative to the folder of `base_path`, then to `content_dir`, then its
// leaf in the `kind` folder of `content_dir` (the authoring convention:
// Objects/, Images/). Only the rules that apply give a candidate.
std::vector<std::string> resolve_in_content_folders(const char* name, const char* base_path,
                                                    const std::string& content_dir, const char* kind);
