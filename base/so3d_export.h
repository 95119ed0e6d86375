#pragma once
// SO3D_API marks the classes, records and functions that libso3d.so exports;
// everything else stays hidden.
#define SO3D_API __attribute__((visibility("default")))
