#pragma once
#include "platform/foundation/z_export.h"
// zFSPath: splits a path into components. Both '/' and '\\' separate
// components, so paths written on either platform can be taken apart here.
#include "platform/foundation/z_string.h"

class Z_API zFSPath {
 public:
  zFSPath() = default;
  explicit zFSPath(const zString& path) : path_(path) {}
  explicit zFSPath(const char* path) : path_(path) {}

  // The last component ("" for a path ending in a separator).
  zString GetLeaf() const;
  // Drops the last component and the separator before it. A path with a
  // single component becomes empty. Returns *this.
  zFSPath& GoParent();

  const zString& Path() const { return path_; }
  const char* CString() const { return path_.CString(); }

  // The separator this platform joins components with.
  static const char* DirectoryString() { return "/"; }
  static bool IsSeparator(char c) { return c == '/' || c == '\\'; }

 private:
  zString path_;
};
