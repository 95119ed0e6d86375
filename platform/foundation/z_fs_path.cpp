#include "platform/foundation/z_fs_path.h"

namespace {
std::size_t last_separator(std::string_view s) {
  for (std::size_t i = s.size(); i > 0; --i)
    if (zFSPath::IsSeparator(s[i - 1])) return i - 1;
  return std::string_view::npos;
}
}  // namespace

zString zFSPath::GetLeaf() const {
  const std::string_view s = path_.View();
  const std::size_t at = last_separator(s);
  return at == std::string_view::npos ? path_ : zString(s.substr(at + 1));
}

zFSPath& zFSPath::GoParent() {
  const std::string_view s = path_.View();
  const std::size_t at = last_separator(s);
  path_ = at == std::string_view::npos ? zString() : zString(s.substr(0, at));
  return *this;
}
