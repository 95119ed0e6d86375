#include "tools/frame_writer.h"

#include "tools/png_output.h"

namespace so3d::tools {

FrameWriter::FrameWriter(unsigned width, unsigned height, unsigned workers) : width_(width), height_(height) {
  if (workers == 0) workers = 1;
  for (unsigned i = 0; i < 2 * workers; ++i) {
    buffers_.emplace_back(std::size_t(width) * height * 4);
    free_.push_back(&buffers_.back());
  }
  for (unsigned i = 0; i < workers; ++i) threads_.emplace_back([this] { work(); });
}

FrameWriter::~FrameWriter() {
  Finish();
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  for (std::thread& t : threads_) t.join();
}

std::vector<std::uint8_t>& FrameWriter::Acquire() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return !free_.empty(); });
  std::vector<std::uint8_t>* frame = free_.back();
  free_.pop_back();
  return *frame;
}

void FrameWriter::Submit(std::vector<std::uint8_t>& frame, std::string path) {
  {
    std::lock_guard lock(mutex_);
    jobs_.push_back({&frame, std::move(path)});
  }
  changed_.notify_all();
}

void FrameWriter::Release(std::vector<std::uint8_t>& frame) {
  {
    std::lock_guard lock(mutex_);
    free_.push_back(&frame);
  }
  changed_.notify_all();
}

std::string FrameWriter::Finish() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return jobs_.empty() && busy_ == 0; });
  return error_;
}

void FrameWriter::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
    if (jobs_.empty()) return;  // stopping, nothing left
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    ++busy_;
    lock.unlock();
    const bool written = WritePngAtomically(job.path, width_, height_, job.frame->data());
    lock.lock();
    if (!written && error_.empty()) error_ = job.path + ": cannot write the file";
    free_.push_back(job.frame);
    --busy_;
    changed_.notify_all();
  }
}

}  // namespace so3d::tools
