// Threads.h -- threads that do the same work at a time.
#pragma once

#include <functional>
#include <thread>
#include <vector>

namespace corvane::test {

class Threads {
 public:
  // Starts `count` threads, each of which runs `work` with its number, from 0.
  Threads(int count, const std::function<void(int number)>& work) {
    for (int number = 0; number < count; ++number) threads_.emplace_back(work, number);
  }
  ~Threads() { Join(); }
  Threads(const Threads&) = delete;
  Threads& operator=(const Threads&) = delete;

  // Waits until all have ended.
  void Join() {
    for (std::thread& thread : threads_) thread.join();
    threads_.clear();
  }

 private:
  std::vector<std::thread> threads_;
};

}  // namespace corvane::test
