#include "files/decoders.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>

#include "files/failure.h"
#include "files/image_read.h"
#include "files/message.h"

namespace files {

namespace {

enum : uint64_t { kOpen = 1, kRead = 2 };

constexpr size_t kPage = 65536;  // pixels begin at a multiple of it, so that they are aligned

bool send_all(int socket, const void* data, size_t size) {
  const auto* from = static_cast<const uint8_t*>(data);
  while (size > 0) {
    const ssize_t sent = send(socket, from, size, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    from += sent;
    size -= static_cast<size_t>(sent);
  }
  return true;
}

bool receive_all(int socket, void* data, size_t size) {
  auto* to = static_cast<uint8_t*>(data);
  while (size > 0) {
    const ssize_t got = recv(socket, to, size, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    to += got;
    size -= static_cast<size_t>(got);
  }
  return true;
}

// A message of one byte that carries an open file.
bool send_file(int socket, uint8_t word, int file) {
  iovec part = {&word, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  cmsghdr* head = CMSG_FIRSTHDR(&message);
  head->cmsg_level = SOL_SOCKET;
  head->cmsg_type = SCM_RIGHTS;
  head->cmsg_len = CMSG_LEN(sizeof(int));
  std::memcpy(CMSG_DATA(head), &file, sizeof file);
  ssize_t sent = 0;
  do {
    sent = sendmsg(socket, &message, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent == 1;
}

// Returns the open file, -1 if none came.
int receive_file(int socket, uint8_t& word) {
  iovec part = {&word, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  ssize_t got = 0;
  do {
    got = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
  } while (got < 0 && errno == EINTR);
  const cmsghdr* head = got == 1 ? CMSG_FIRSTHDR(&message) : nullptr;
  if (!head || head->cmsg_type != SCM_RIGHTS) return -1;
  int file = -1;
  std::memcpy(&file, CMSG_DATA(head), sizeof file);
  return file;
}

// ---- In the decoding process ----

// Pixels follow the rest at the next multiple of kPage.
int answer_file(const Bytes& rest, const Raster* raster) {
  const int file = memfd_create("page", MFD_CLOEXEC);
  const size_t pixels = (rest.size() + 8 + kPage - 1) / kPage * kPage;
  const size_t size = raster ? pixels + raster->pixels.size() : pixels;
  uint8_t length[8];
  put_number(length, rest.size(), 8, false);
  if (file < 0 || ftruncate(file, static_cast<off_t>(size)) != 0) return -1;
  bool good = pwrite(file, length, 8, 0) == 8 &&
              pwrite(file, rest.data(), rest.size(), 8) == static_cast<ssize_t>(rest.size());
  for (size_t done = 0; good && raster && done < raster->pixels.size();) {
    const ssize_t put = pwrite(file, raster->pixels.data() + done, raster->pixels.size() - done,
                               static_cast<off_t>(pixels + done));
    good = put > 0;
    done += good ? static_cast<size_t>(put) : 0;
  }
  if (good) return file;
  close(file);
  return -1;
}

int failure_file(const std::string& why) {
  Writer out;
  out.number(0);
  out.text(why);
  return answer_file(out.bytes, nullptr);
}

int answer(Reader& in) {
  const uint64_t what = in.number();
  const SourceFile file = in.source();
  const uint64_t page = in.number();
  const ReadOptions options = in.options();
  Writer out;
  out.number(1);
  if (what == kOpen) {
    out.source(open_source(file.path, file.name, options));
    return answer_file(out.bytes, nullptr);
  }
  const Page read = read_page(file, static_cast<int>(page), options);
  out.descriptions(read.about);
  out.number(read.bilevel);
  out.number(static_cast<uint64_t>(read.raster.width));
  out.number(static_cast<uint64_t>(read.raster.height));
  out.number(static_cast<uint64_t>(read.raster.channels));
  return answer_file(out.bytes, &read.raster);
}

int answer_or_failure(const Bytes& request) {
  try {
    Reader in(request.data(), request.size());
    return answer(in);
  } catch (const std::bad_alloc&) {
    return failure_file("does not fit into memory");
  } catch (const std::exception& error) {
    return failure_file(error.what());
  }
}

void limit_memory(uint64_t memory, const Bytes& request) {
  if (memory == 0) return;
  Reader in(request.data(), request.size());
  in.number();
  struct stat file {};
  if (stat(in.source().path.c_str(), &file) == 0) memory += static_cast<uint64_t>(file.st_size);
  const rlimit limit = {memory, RLIM_INFINITY};
  setrlimit(RLIMIT_DATA, &limit);
}

// Ends with the socket's other end. The alarm ends what takes too long, wherever it is.
[[noreturn]] void work(int socket, const DecoderLimits& limits) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  signal(SIGALRM, SIG_DFL);
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  bool started = false;
  for (uint64_t size = 0; receive_all(socket, &size, sizeof size);) {
    Bytes request(size);
    if (!receive_all(socket, request.data(), size)) break;
    limit_memory(limits.memory, request);
    if (!started) start_image_library("skewcorrect");
    started = true;
    alarm(static_cast<unsigned int>(limits.seconds));
    const int file = answer_or_failure(request);
    alarm(0);
    if (file < 0 || !send_file(socket, 1, file)) break;
    close(file);
  }
  _exit(0);
}

// The process that starts the others: a socket comes in, a decoder that listens to it is made.
[[noreturn]] void start_others(int control, const DecoderLimits& limits) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::vector<pid_t> children;
  // A decoder that outlives the program by a moment must not hold its pipes open, nor write into them.
  const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  for (int standard = 0; nowhere >= 0 && standard < 3; ++standard) dup2(nowhere, standard);
  uint8_t word = 0;
  for (int socket; (socket = receive_file(control, word)) >= 0;) {
    const pid_t child = fork();
    if (child == 0) {
      close(control);
      work(socket, limits);
    }
    close(socket);
    if (child > 0) children.push_back(child);
    for (pid_t ended; (ended = waitpid(-1, nullptr, WNOHANG)) > 0;)
      children.erase(std::find(children.begin(), children.end(), ended));
    const uint8_t good = child > 0;
    if (!send_all(control, &good, 1)) break;
  }
  for (pid_t child : children) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  _exit(0);
}

}  // namespace

// ---- In the program ----

// What a decoder answered: a mapping that ends with the pixels of a page.
struct Decoders::Answer {
  uint8_t* data = nullptr;
  size_t size = 0;

  Answer() = default;
  Answer(Answer&& other) noexcept : data(other.data), size(other.size) { other.data = nullptr; }
  Answer(const Answer&) = delete;
  ~Answer() {
    if (data) munmap(data, size);
  }

  Reader reader() const {
    const uint64_t length = size < 8 ? 0 : get_number(data, 8, false);
    if (size < 8 || length > size - 8) throw Failure("was not decoded (its decoder answered nonsense)");
    Reader in(data + 8, length);
    if (in.number() == 0) throw Failure(in.text());
    return in;
  }

  // The mapping now belongs to the pixels.
  Pixels pixels(uint64_t count) {
    const size_t from = (get_number(data, 8, false) + 8 + kPage - 1) / kPage * kPage;
    if (from > size || count > size - from) throw Failure("was not decoded (its decoder answered nonsense)");
    uint8_t* mapping = data;
    data = nullptr;
    return Pixels(mapping, size, from, count);
  }
};

Decoders::Decoders(const DecoderLimits& limits) : limits_(limits) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
    throw Failure(std::string("cannot start decoding: ") + std::strerror(errno));
  child_ = fork();
  if (child_ == 0) {
    close(ends[0]);
    start_others(ends[1], limits);
  }
  close(ends[1]);
  starter_ = ends[0];
  if (child_ < 0) {
    close(starter_);
    throw Failure(std::string("cannot start decoding: ") + std::strerror(errno));
  }
}

Decoders::~Decoders() {
  for (int worker : idle_) close(worker);
  close(starter_);
  waitpid(child_, nullptr, 0);
}

// Returns the socket of a new process, -1 if none can be started.
int Decoders::start_worker() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return -1;
  uint8_t good = 0;
  const bool told = send_file(starter_, 1, ends[1]) && receive_all(starter_, &good, 1);
  close(ends[1]);
  if (told && good) return ends[0];
  close(ends[0]);
  return -1;
}

int Decoders::acquire() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    if (!idle_.empty()) {
      const int worker = idle_.back();
      idle_.pop_back();
      return worker;
    }
    if (running_ < limits_.processes) {
      const int worker = start_worker();
      if (worker >= 0) {
        ++running_;
        return worker;
      }
      if (running_ == 0) throw Failure("was not decoded (no process can be started)");
    }
    free_.wait(lock);
  }
}

void Decoders::release(int worker) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (worker >= 0)
    idle_.push_back(worker);
  else
    --running_;
  free_.notify_one();
}

Decoders::Answer Decoders::ask(const Bytes& request) {
  const int worker = acquire();
  const auto begin = std::chrono::steady_clock::now();
  const uint64_t size = request.size();
  uint8_t word = 0;
  const int file = send_all(worker, &size, sizeof size) && send_all(worker, request.data(), size)
                       ? receive_file(worker, word)
                       : -1;
  if (file < 0) {
    close(worker);
    release(-1);
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
    if (limits_.seconds > 0 && spent.count() > limits_.seconds - 0.1)
      throw Failure("takes longer than " + std::to_string(limits_.seconds) +
                    " seconds to decode (--page-timeout)");
    throw Failure("broke its decoder, or needs more memory than a decoder may have");
  }
  release(worker);
  Answer answer;
  struct stat told {};
  if (fstat(file, &told) == 0) {
    answer.size = static_cast<size_t>(told.st_size);
    void* mapped = mmap(nullptr, answer.size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    answer.data = mapped == MAP_FAILED ? nullptr : static_cast<uint8_t*>(mapped);
  }
  close(file);
  if (!answer.data) throw std::bad_alloc();
  return answer;
}

SourceFile Decoders::open(const std::string& path, const std::string& name, const ReadOptions& options) {
  Writer out;
  out.number(kOpen);
  SourceFile file;
  file.path = path;
  file.name = name;
  out.source(file);
  out.number(0);
  out.options(options);
  return ask(out.bytes).reader().source();
}

Page Decoders::read(const SourceFile& file, int page, const ReadOptions& options) {
  Writer out;
  out.number(kRead);
  SourceFile wanted = {file.path, file.name, file.format, file.extension, 1, {}};
  if (!file.places.empty()) wanted.places.push_back(file.places[page]);
  out.source(wanted);
  out.number(static_cast<uint64_t>(file.places.empty() ? page : 0));
  out.options(options);
  Answer answer = ask(out.bytes);
  Reader in = answer.reader();
  Page result;
  result.about = in.descriptions();
  result.bilevel = in.number() != 0;
  result.raster.width = static_cast<int>(in.number());
  result.raster.height = static_cast<int>(in.number());
  result.raster.channels = static_cast<int>(in.number());
  result.raster.pixels = answer.pixels(result.raster.row_bytes() * result.raster.height);
  return result;
}

}  // namespace files
