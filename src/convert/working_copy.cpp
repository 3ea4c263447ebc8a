// Making and freeing the working copy. ARGB pixels become gray directly, without an RGB image between: the
// bytes are the same, and the one way to fail is still that memory runs out, with no working copy left.
#include "convert/working_copy.h"

#include "convert/pixel_format.h"
#include "core/buffer.h"
#include "include/skewcorrection/convert.h"

namespace skew {

uint8_t* g_globalBuffer = nullptr;

void free_working_copy() {
  std::free(g_globalBuffer);
  g_globalBuffer = nullptr;
}

namespace {

// Replaces the working copy by an uninitialised one. The old one goes first, so that two never coexist.
int renew_working_copy(int width, int height) {
  free_working_copy();
  const int64_t count = int64_t{width} * height;
  if (count < 0) return SKEW_OUT_OF_MEMORY;
  g_globalBuffer = allocate<uint8_t>(static_cast<uint64_t>(count)).release();
  return g_globalBuffer != nullptr ? SKEW_OK : SKEW_OUT_OF_MEMORY;
}

}  // namespace
}  // namespace skew

int CopyToGlobalBuffer(const unsigned char* pSrc, int width, int height) {
  const int result = skew::renew_working_copy(width, height);
  const int64_t count = skew::pixel_count(width, height);
  if (result == SKEW_OK && count != 0) std::memcpy(skew::g_globalBuffer, pSrc, static_cast<size_t>(count));
  return result;
}

int ConvertImageDataToGray_and_CopyToGlobalBuffer(const int* pARGB, int width, int height) {
  const int result = skew::renew_working_copy(width, height);
  if (result == SKEW_OK) skew::gray_from_argb(pARGB, skew::pixel_count(width, height), skew::g_globalBuffer);
  return result;
}
