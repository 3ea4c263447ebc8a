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

#include "files/targets.h"

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

// Files being written into in place; a signal that meets another thread waits for them.
std::atomic<int> replacing{0};

void on_signal(int number) {
  const timespec moment = {0, 1000000};
  while (replacing.load() > 0) nanosleep(&moment, nullptr);
  for (auto& name : unfinished)
    if (const char* path = name.load()) unlink(path);
  _exit(128 + number);
}

std::string reason() { return std::strerror(errno); }

// The rights that a new file would have had without the detour, or those of the file that it replaces.
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

TempFile::TempFile(const std::string& target, const std::string& suffix)
    : target_(target), stream_(!target.empty() && is_stream(target)) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  const bool apart = target_.empty() || stream_;
  if (!apart && fs::is_symlink(target_, ignored)) {
    const fs::path real = fs::weakly_canonical(target_, ignored);
    if (!ignored) target_ = real;
  }
  const fs::path folder = apart ? fs::temp_directory_path(ignored) : fs::path(target_).parent_path();
  if (!folder.empty()) fs::create_directories(folder, ignored);
  std::string name = (folder / ".skewcorrect-XXXXXX").string() + suffix;
  const int descriptor = mkostemps(name.data(), static_cast<int>(suffix.size()), O_CLOEXEC);
  if (descriptor < 0) throw Failure("cannot be written: " + reason());
  path_ = name;
  slot_ = remember(path_);
  give_usual_rights(descriptor, apart ? "" : target_);
  close(descriptor);
}

TempFile::~TempFile() {
  if (!path_.empty()) unlink(path_.c_str());
  forget(slot_);
}

void TempFile::commit(const Delivery& delivery) {
  if (stream_) return copy_bytes(path_, target_);
  const int descriptor = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat model {};
  if (!delivery.time_of.empty() && stat(delivery.time_of.c_str(), &model) == 0) {
    const timespec times[] = {model.st_atim, model.st_mtim};
    if (descriptor >= 0) (void)futimens(descriptor, times);
  }
  const bool stored = descriptor >= 0 && fsync(descriptor) == 0;
  if (descriptor >= 0) close(descriptor);
  if (!stored) throw Failure("cannot be written: " + reason());
  if (delivery.in_place && !replace_in_place(delivery)) return;

  const bool replace = delivery.replace || delivery.in_place;
  int result = renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target_.c_str(), replace ? 0 : RENAME_NOREPLACE);
  if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {  // a file system without the flag
    if (!replace && access(target_.c_str(), F_OK) == 0) throw Taken("exists already (use --overwrite)");
    result = rename(path_.c_str(), target_.c_str());
  }
  if (result != 0 && errno == EEXIST) throw Taken("exists already (use --overwrite)");
  if (result != 0) throw Failure("cannot be written: " + reason());
  path_.clear();
}

// Returns true where renaming keeps what the target is: one name, its owner, its rights. Otherwise the bytes
// are written into it, and false is returned.
bool TempFile::replace_in_place(const Delivery& delivery) {
  struct stat old {};
  if (stat(target_.c_str(), &old) != 0) throw Failure("cannot be replaced: " + reason());
  if (old.st_nlink == 1 && chown(path_.c_str(), old.st_uid, old.st_gid) == 0 &&
      chmod(path_.c_str(), old.st_mode & 07777) == 0)
    return true;
  write_into_target();
  if (!delivery.time_of.empty()) {
    const timespec times[] = {old.st_atim, old.st_mtim};
    (void)utimensat(AT_FDCWD, target_.c_str(), times, 0);
  }
  return false;
}

// While the target is half old and half new, the complete result stands beside it: signals wait, and a
// failure leaves the result there and says so.
void TempFile::write_into_target() {
  if (access(target_.c_str(), W_OK) != 0) throw Failure("cannot be replaced: " + reason());
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  ++replacing;
  forget(slot_);
  slot_ = -1;
  try {
    copy_bytes(path_, target_);
  } catch (const Failure& failure) {
    const std::string kept = path_;
    path_.clear();
    --replacing;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw Failure(std::string(failure.what()) + "; the complete result is " + kept);
  }
  unlink(path_.c_str());
  path_.clear();
  --replacing;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void copy_bytes(const std::string& from, const std::string& to) {
  const int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
  const int out = to == "-" ? 1 : in < 0 ? -1 : open(to.c_str(), O_WRONLY | O_CLOEXEC);
  struct stat source {
  }, target{};
  bool good = in >= 0 && out >= 0 && fstat(in, &source) == 0 && fstat(out, &target) == 0;
  // Room for a file that grows is taken first, so that a full disk is noticed before anything is overwritten.
  const bool file = good && S_ISREG(target.st_mode) && out != 1;
  if (file && source.st_size > target.st_size) {
    errno = posix_fallocate(out, 0, source.st_size);
    good = errno == 0 || errno == EOPNOTSUPP || errno == EINVAL;
    if (!good && ftruncate(out, target.st_size) != 0) errno = ENOSPC;
  }
  std::vector<char> block(1 << 18);
  off_t length = 0;  // a pipe does not tell its own
  while (good) {
    const ssize_t got = read(in, block.data(), block.size());
    if (got <= 0) {
      good = got == 0;
      break;
    }
    for (ssize_t done = 0; good && done < got;) {
      const ssize_t put = write(out, block.data() + done, static_cast<size_t>(got - done));
      good = put >= 0;
      done += put;
    }
    length += got;
  }
  if (good && file) good = ftruncate(out, length) == 0 && fsync(out) == 0;
  const int error = errno;
  if (in >= 0) close(in);
  if (out > 1) close(out);
  if (!good) throw Failure(std::string("cannot be written: ") + std::strerror(error));
}

void clean_up_on_signals() {
  struct sigaction action {};
  action.sa_handler = on_signal;
  sigemptyset(&action.sa_mask);
  for (int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
      sigaction(number, &action, nullptr);
  }
  // A closed pipe or a full quota then shows as a failed write, which is reported with its file's name.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

}  // namespace files
