#include "tests/support/allocations.h"

#include <atomic>
#include <mutex>
#include <unordered_map>

extern "C" {
void* __real_malloc(size_t);
void* __real_calloc(size_t, size_t);
void* __real_realloc(void*, size_t);
void __real_free(void*);
}

namespace skew::test {
namespace {

std::atomic<long> count{0};
std::atomic<long> fail_first{0}, fail_last{0};  // numbers of the failing allocations; 0, 0: none
std::mutex lock;
size_t held = 0, peak = 0;

std::unordered_map<void*, size_t>& blocks() {
  static auto* map = new std::unordered_map<void*, size_t>;  // outlives every other static
  return *map;
}

bool must_fail() {
  const long number = ++count;
  return number >= fail_first && number <= fail_last;
}

void* remember(void* block, size_t size) {
  if (block == nullptr) return nullptr;
  const std::lock_guard<std::mutex> guard(lock);
  blocks()[block] = size;
  held += size;
  if (held > peak) peak = held;
  return block;
}

void forget(void* block) {
  const std::lock_guard<std::mutex> guard(lock);
  const auto found = blocks().find(block);
  if (found == blocks().end()) return;
  held -= found->second;
  blocks().erase(found);
}

void fail_between(long first, long last) {
  fail_last = 0;
  fail_first = first;
  fail_last = last;
}

}  // namespace

FailFrom::FailFrom(long number) { fail_between(count + number, __LONG_MAX__); }
FailFrom::~FailFrom() { fail_between(0, 0); }
FailOnly::FailOnly(long number) { fail_between(count + number, count + number); }
FailOnly::~FailOnly() { fail_between(0, 0); }

long allocation_count() { return count; }
long blocks_held() {
  const std::lock_guard<std::mutex> guard(lock);
  return static_cast<long>(blocks().size());
}
size_t bytes_held() {
  const std::lock_guard<std::mutex> guard(lock);
  return held;
}
size_t peak_bytes_held() {
  const std::lock_guard<std::mutex> guard(lock);
  return peak;
}
void reset_peak() {
  const std::lock_guard<std::mutex> guard(lock);
  peak = held;
}

}  // namespace skew::test

using skew::test::forget;
using skew::test::must_fail;
using skew::test::remember;

extern "C" {

void* __wrap_malloc(size_t size) { return must_fail() ? nullptr : remember(__real_malloc(size), size); }

void* __wrap_calloc(size_t number, size_t size) {
  return must_fail() ? nullptr : remember(__real_calloc(number, size), number * size);
}

void* __wrap_realloc(void* block, size_t size) {
  if (must_fail()) return nullptr;
  forget(block);
  return remember(__real_realloc(block, size), size);
}

void __wrap_free(void* block) {
  forget(block);
  __real_free(block);
}
}
