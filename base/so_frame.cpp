#include "base/so_frame.h"

float soFrameWidth = 7.2f;
float soFrameHeight = 4.8f;
so_fopen_fn so_fopen = nullptr;

std::FILE* so_open_for_reading(const char* path) {
  if (!path) return nullptr;
  return so_fopen ? so_fopen(path, "rb") : std::fopen(path, "rb");
}
