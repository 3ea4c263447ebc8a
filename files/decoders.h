// Decoding in processes of their own: a file that crashes its decoder, fills the memory or never ends costs its own
// page and nothing else. Processes are reused; one that broke down is replaced.
//
// They are started by a process that was forked before anything else, which has no threads and no libraries in
// use: forking later, among threads, would copy locks that nobody opens. Requests and answers are messages; pixels
// travel in memory that both sides map.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <vector>

#include "files/page.h"

namespace files {

struct DecoderLimits {
  int processes = 1;    // at once; fewer if no more can be started
  int seconds = 0;      // that one answer may take; 0: no limit
  uint64_t memory = 0;  // bytes of a process, beyond the size of its file; 0: no limit
};

class Decoders {
 public:
  // To be made before the program has threads. Throws Failure.
  explicit Decoders(const DecoderLimits& limits);
  ~Decoders();
  Decoders(const Decoders&) = delete;
  Decoders& operator=(const Decoders&) = delete;

  // As open_source and read_page of image_read.h. Thread safe.
  SourceFile open(const std::string& path, const std::string& name, const ReadOptions& options);
  Page read(const SourceFile& file, int page, const ReadOptions& options);

 private:
  int acquire();
  void release(int worker);
  int start_worker();
  struct Answer;
  Answer ask(const Bytes& request);

  const DecoderLimits limits_;
  int starter_ = -1;  // the socket of the process that starts others,
  pid_t child_ = -1;  // and that process
  std::mutex mutex_;
  std::condition_variable free_;
  std::vector<int> idle_;  // sockets of processes that wait for work
  int running_ = 0;
};

}  // namespace files
