#pragma once
#include "platform/foundation/z_export.h"
// zString: an owned byte string (UTF-8 on this platform). Never null:
// CString() of an empty string is "". Allocates like std::string (and throws
// std::bad_alloc like it); CString() stays valid until the string changes.
#include <string>
#include <string_view>

class Z_API zString {
 public:
  zString() = default;
  zString(const char* s) : text_(s ? s : "") {}  // NOLINT: implicit, as the foundation's
  zString(std::string_view s) : text_(s) {}      // NOLINT
  zString(const zString&) = default;
  zString(zString&&) noexcept = default;
  zString& operator=(const zString&) = default;
  zString& operator=(zString&&) noexcept = default;
  zString& operator=(const char* s) {
    text_ = s ? s : "";
    return *this;
  }

  zString& operator+=(char c) {
    text_ += c;
    return *this;
  }
  zString& operator+=(const char* s) {
    if (s) text_ += s;
    return *this;
  }
  zString& operator+=(const zString& s) {
    text_ += s.text_;
    return *this;
  }

  // Replaces every occurrence of `from` by `to`.
  void ReplaceChar(char from, char to);
  void Prepend(const char* s) { text_.insert(0, s ? s : ""); }

  const char* CString() const { return text_.c_str(); }
  std::size_t Length() const { return text_.size(); }
  bool IsEmpty() const { return text_.empty(); }
  std::string_view View() const { return text_; }

  // Byte-wise and case-sensitive.
  friend bool operator==(const zString& a, const zString& b) { return a.text_ == b.text_; }
  friend bool operator==(const zString& a, const char* b) { return a.text_ == (b ? b : ""); }

 private:
  std::string text_;
};
