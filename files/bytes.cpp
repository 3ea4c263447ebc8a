#include "files/bytes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "files/failure.h"

namespace files {

MappedFile::MappedFile(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat found {};
  if (descriptor >= 0 && fstat(descriptor, &found) == 0 && found.st_size > 0) {
    void* mapped =
        mmap(nullptr, found.st_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_NORESERVE, descriptor, 0);
    if (mapped != MAP_FAILED) {
      data_ = static_cast<uint8_t*>(mapped);
      size_ = found.st_size;
    }
  }
  const int error = errno;
  if (descriptor >= 0) close(descriptor);
  if (!data_) throw Failure(std::string("cannot be read: ") + std::strerror(error));
}

MappedFile::~MappedFile() { munmap(data_, size_); }

}  // namespace files
