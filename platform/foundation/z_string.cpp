#include "platform/foundation/z_string.h"

#include <algorithm>

void zString::ReplaceChar(char from, char to) { std::replace(text_.begin(), text_.end(), from, to); }
