#include "files/temp_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "files/failure.h"

namespace files {

namespace {

// The names of unfinished files, where a signal handler can find them without taking a lock.
constexpr int kSlots = 1024;
std::atomic<char*> unfinished[kSlots];

int remember(const std::string& path) {
  char* copy = strdup(path.c_str());
  for (int slot = 0; copy && slot < kSlots; ++slot) {
    char* empty = nullptr;
    if (unfinished[slot].compare_exchange_strong(empty, copy)) return slot;
  }
  std::free(copy);
  return -1;
}

void forget(int slot) {
  if (slot >= 0) std::free(unfinished[slot].exchange(nullptr));
}

void on_signal(int number) {
  for (auto& name : unfinished)
    if (const char* path = name.load()) unlink(path);
  _exit(128 + number);
}

std::string reason() { return std::strerror(errno); }

// The rights that a new file would have had without the detour.
void give_usual_rights(int descriptor, const std::string& target) {
  struct stat old {};
  if (!target.empty() && stat(target.c_str(), &old) == 0) {
    (void)fchmod(descriptor, old.st_mode & 07777);
    return;
  }
  static const mode_t mask = [] {
    const mode_t current = umask(022);
    umask(current);
    return current;
  }();
  (void)fchmod(descriptor, 0666 & ~mask);
}

}  // namespace

TempFile::TempFile(const std::string& target, const std::string& suffix) : target_(target) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  if (!target_.empty() && fs::is_symlink(target_, ignored)) {
    const fs::path real = fs::weakly_canonical(target_, ignored);
    if (!ignored) target_ = real;
  }
  const fs::path folder =
      target_.empty() ? fs::temp_directory_path(ignored) : fs::path(target_).parent_path();
  if (!folder.empty()) fs::create_directories(folder, ignored);
  std::string name = (folder / ".skewcorrect-XXXXXX").string() + suffix;
  const int descriptor = mkstemps(name.data(), static_cast<int>(suffix.size()));
  if (descriptor < 0) throw Failure("cannot be written: " + reason());
  path_ = name;
  slot_ = remember(path_);
  give_usual_rights(descriptor, target_);
  close(descriptor);
}

TempFile::~TempFile() {
  if (!path_.empty()) unlink(path_.c_str());
  forget(slot_);
}

void TempFile::commit(bool replace) {
  const int descriptor = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  const bool stored = descriptor >= 0 && fsync(descriptor) == 0;
  if (descriptor >= 0) close(descriptor);
  if (!stored) throw Failure("cannot be written: " + reason());
  int result = renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target_.c_str(), replace ? 0 : RENAME_NOREPLACE);
  if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {  // a file system without the flag
    if (!replace && access(target_.c_str(), F_OK) == 0) throw Failure("exists already (use --overwrite)");
    result = rename(path_.c_str(), target_.c_str());
  }
  if (result != 0 && errno == EEXIST) throw Failure("exists already (use --overwrite)");
  if (result != 0) throw Failure("cannot be written: " + reason());
  path_.clear();
}

void clean_up_on_signals() {
  struct sigaction action {};
  action.sa_handler = on_signal;
  sigemptyset(&action.sa_mask);
  for (int number : {SIGINT, SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
  // A closed pipe or a full quota then shows as a failed write, which is reported with its file's name.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

}  // namespace files
