#include "base/so_file_paths.h"

#include <cstring>
#include <string>
#include <string_view>

namespace {

// Every separator of `path`, of either kind, becomes `separator`.
zString with_separator(std::string_view path, const char* separator) {
  std::string joined;
  joined.reserve(path.size());
  for (const char c : path) {
    if (zFSPath::IsSeparator(c))
      joined += separator;
    else
      joined += c;
  }
  return zString(std::string_view(joined));
}

bool has_separator(std::string_view path) {
  for (const char c : path)
    if (zFSPath::IsSeparator(c)) return true;
  return false;
}

}  // namespace

void resolve_absolute_path(const char* name, zString& out, const char* separator) {
  if (!name || !separator || name[0] == '\0' || name[1] != ':') return;
  const std::string_view text(name);
  zString resolved;
  resolved += name[0];
  resolved += ':';
  resolved += separator;
  resolved += zString(text.substr(text.find(':') + 1));
  out = with_separator(resolved.View(), separator);
}

void resolve_relative_to_base(const char* name, zString& out, const char* base_path, const char* separator) {
  if (!name || !base_path || !separator) return;
  const char* colon = std::strchr(name, ':');
  if (!colon) return;

  zFSPath dir(with_separator(colon + 1, separator));
  zString tail = dir.GetLeaf();
  dir.GoParent();
  zString folder = dir.GetLeaf();
  while (!folder.IsEmpty()) {
    // Each GoParent drops at least one character, so both walks end.
    for (zFSPath base(base_path); !base.Path().IsEmpty(); base.GoParent()) {
      if (base.GetLeaf() == folder) {
        zString resolved = base.Path();
        resolved += separator;
        resolved += tail;
        out = resolved;
        return;
      }
    }
    zString longer = folder;
    longer += separator;
    longer += tail;
    tail = longer;
    dir.GoParent();
    folder = dir.GetLeaf();
  }
}

void resolve_beside_base(const char* name, zString& out, const char* base_path, const char* separator) {
  if (!separator) return;
  const zString leaf = zFSPath(name ? name : "").GetLeaf();
  const std::string_view base = base_path ? std::string_view(base_path) : std::string_view();
  // GoParent of "/intro.lws" is "", as is that of "intro.lws": only the
  // first lives in a folder (the root) that must be written out.
  if (has_separator(base)) {
    out += zFSPath(zString(base)).GoParent().Path();
    out += separator;
  }
  out += leaf;
}
