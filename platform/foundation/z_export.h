#pragma once
// Z_API marks the foundation classes a host uses (it builds settings records
// with them); the rest of the foundation stays inside the library.
#define Z_API __attribute__((visibility("default")))
