#pragma once
// The recording device, under the names the tests use.
#include "backends/recording/recording_device.h"

namespace so3d::test {
using backend::DeviceCall;
using backend::RecordingDevice;
using backend::RecordingTexture;
using backend::RecordingVertexBuffer;
}  // namespace so3d::test
