#pragma once
// PNG frames written on worker threads, so that the render loop never waits
// for encoding while a buffer is free. Buffers are reused: after the first
// frames, writing allocates nothing but what the encoder itself needs. Each
// file is written under a temporary name and renamed when complete, so no
// half-written frame is ever seen under its own name.
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace so3d::tools {

class FrameWriter {
 public:
  // Frames of width × height R, G, B, A pixels; `workers` encoding threads
  // and twice as many buffers in flight.
  FrameWriter(unsigned width, unsigned height, unsigned workers);
  ~FrameWriter();  // finishes every queued frame
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  // A buffer to render the next frame into; waits only while every buffer
  // is being written.
  std::vector<std::uint8_t>& Acquire();
  // Queues the buffer from Acquire to be written to `path`.
  void Submit(std::vector<std::uint8_t>& frame, std::string path);
  // Gives a buffer from Acquire back unwritten.
  void Release(std::vector<std::uint8_t>& frame);
  // Waits for every queued frame; the first failure as "PATH: reason", or "".
  std::string Finish();

 private:
  struct Job {
    std::vector<std::uint8_t>* frame;
    std::string path;
  };
  void work();

  unsigned width_, height_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::vector<std::uint8_t>> buffers_;  // stable addresses
  std::vector<std::vector<std::uint8_t>*> free_;
  std::deque<Job> jobs_;
  unsigned busy_ = 0;
  bool stopping_ = false;
  std::string error_;
  std::vector<std::thread> threads_;
};

}  // namespace so3d::tools
