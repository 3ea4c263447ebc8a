// A file for what reads files.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

// A file in memory, closed with the scope.
class MemoryFile {
 public:
  MemoryFile(const uint8_t* data, size_t size) : handle_(memfd_create("input", 0)) {
    if (write(handle_, data, size) != static_cast<ssize_t>(size)) abort();
  }
  ~MemoryFile() { close(handle_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(handle_); }

 private:
  int handle_;
};
