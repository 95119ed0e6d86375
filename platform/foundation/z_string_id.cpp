#include "platform/foundation/z_string_id.h"

#include <cstring>

zStringID* zStringID::Default() {
  static zStringID table;
  return &table;
}

std::int32_t zStringID::Add(std::int32_t id, const char* name) {
  if (!name) return -1;
  std::lock_guard lock(mutex_);
  for (auto& [key, text] : names_) {
    if (key == id) {
      text = name;
      return 0;
    }
  }
  names_.emplace_back(id, name);
  return 0;
}

std::string zStringID::Name(std::int32_t id) const {
  std::lock_guard lock(mutex_);
  for (const auto& [key, text] : names_)
    if (key == id) return text;
  return {};
}

bool zStringID::Has(std::int32_t id) const {
  std::lock_guard lock(mutex_);
  for (const auto& entry : names_)
    if (entry.first == id) return true;
  return false;
}

std::int32_t zStringID::Find(const char* name) const {
  if (!name) return 0;
  std::lock_guard lock(mutex_);
  for (const auto& [key, text] : names_)
    if (text == name) return key;
  return 0;
}
