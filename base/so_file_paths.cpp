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

namespace {

std::string with_slashes(std::string path) {
  for (char& c : path)
    if (c == '\\') c = '/';
  return path;
}

std::string joined(const std::string& folder, const std::string& rest) {
  if (folder.empty()) return rest;
  return folder.back() == '/' ? folder + rest : folder + "/" + rest;
}

}  // namespace

std::vector<std::string> resolve_in_content_folders(const char* name, const char* base_path,
                                                    const std::string& content_dir, const char* kind) {
  std::vector<std::string> out;
  if (!name || !*name) return out;
  const std::string relative = with_slashes(name);
  // A drive-letter name ("C:Objects/x.lwo") is absolute elsewhere: only its leaf travels.
  const bool foreign = relative.size() > 1 && relative[1] == ':';
  const std::string leaf = relative.substr(relative.find_last_of('/') + 1);
  if (base_path && !foreign && relative.front() != '/') {
    const std::string base = with_slashes(base_path);
    const std::size_t cut = base.find_last_of('/');
    out.push_back(joined(cut == std::string::npos ? "" : base.substr(0, cut), relative));
  }
  if (!content_dir.empty()) {
    const std::string content = with_slashes(content_dir);
    if (!foreign && relative.front() != '/') out.push_back(joined(content, relative));
    out.push_back(joined(joined(content, kind), leaf));
  }
  return out;
}
