#pragma once
// Heap-statistics hook: called before a block of the module's own growable
// arrays is freed. It records nothing on this platform.
class zStackerDebugStats {
 public:
  static void FreeHeap() {}
};
