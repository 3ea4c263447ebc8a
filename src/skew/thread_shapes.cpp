// What a caller needs to spread searches over its own threads: functions of the shape of a thread's start
// routine, and a joiner.
#include <cstddef>
#include <cstring>

#include "include/skewcorrection/skew.h"

// The records are part of the published interface.
static_assert(sizeof(void*) != 8 ||
              (sizeof(VarianceParam) == 72 && offsetof(VarianceParam, valueCount) == 8 &&
               offsetof(VarianceParam, pHistogram) == 24 && offsetof(VarianceParam, binCount) == 32 &&
               offsetof(VarianceParam, pXTable) == 40 && offsetof(VarianceParam, mode) == 56 &&
               offsetof(VarianceParam, row) == 60 && offsetof(VarianceParam, pResult) == 64));
static_assert(sizeof(void*) != 4 ||
              (sizeof(VarianceParam) == 44 && offsetof(VarianceParam, pHistogram) == 16 &&
               offsetof(VarianceParam, mode) == 32 && offsetof(VarianceParam, pResult) == 40));
static_assert(sizeof(void*) != 8 ||
              (sizeof(SkewDetectParam) == 152 && offsetof(SkewDetectParam, width) == 8 &&
               offsetof(SkewDetectParam, roi) == 12 && offsetof(SkewDetectParam, pAngle) == 40 &&
               offsetof(SkewDetectParam, direction) == 48 && offsetof(SkewDetectParam, pHorCoarseSin) == 56 &&
               offsetof(SkewDetectParam, pHorScore) == 88 &&
               offsetof(SkewDetectParam, pVertCoarseSin) == 104 &&
               offsetof(SkewDetectParam, pVertAngle) == 144));
static_assert(sizeof(void*) != 4 ||
              (sizeof(SkewDetectParam) == 88 && offsetof(SkewDetectParam, roi) == 8 &&
               offsetof(SkewDetectParam, pAngle) == 32 && offsetof(SkewDetectParam, direction) == 36 &&
               offsetof(SkewDetectParam, pHorScore) == 56 && offsetof(SkewDetectParam, pVertAngle) == 84));

// The version that pthread_join has had in glibc since the processor's first release. The newer one, which a linker
// takes by itself, would keep the library from loading before glibc 2.34.
#if defined(__GLIBC__) && defined(__x86_64__)
#define SKEW_JOIN_VERSION "GLIBC_2.2.5"
#elif defined(__GLIBC__) && defined(__i386__)
#define SKEW_JOIN_VERSION "GLIBC_2.0"
#elif defined(__GLIBC__) && defined(__aarch64__)
#define SKEW_JOIN_VERSION "GLIBC_2.17"
#elif defined(__GLIBC__) && defined(__arm__)
#define SKEW_JOIN_VERSION "GLIBC_2.4"
#elif defined(__GLIBC__) && defined(__riscv)
#define SKEW_JOIN_VERSION "GLIBC_2.27"
#endif
#if defined(SKEW_JOIN_VERSION)
// Weak, because older systems have it in a library of its own, which a program without threads does not load.
extern "C" __attribute__((weak)) int skew_pthread_join(pthread_t thread, void** value);
__asm__(".symver skew_pthread_join, pthread_join@" SKEW_JOIN_VERSION);
#endif

namespace {

constexpr int kDifference = 1;  // VarianceParam::mode
constexpr int kHorizontal = 1;  // SkewDetectParam::direction
constexpr int kVertical = 2;

bool joined(pthread_t thread) {
#if defined(SKEW_JOIN_VERSION)
  return skew_pthread_join != nullptr && skew_pthread_join(thread, nullptr) == 0;
#else
  return pthread_join(thread, nullptr) == 0;
#endif
}

}  // namespace

void GetVariance_sp(const VarianceParam* pParam) {
  const VarianceParam& p = *pParam;
  const uint16_t* x_row = p.pXTable + static_cast<ptrdiff_t>(p.row) * p.xRowLength;
  const uint16_t* y_row = p.pYTable + static_cast<ptrdiff_t>(p.row) * p.yRowLength;
  const int sign = p.mode == kDifference ? -1 : 1;
  const int zero_bin = p.mode == kDifference ? p.binCount >> 1 : 0;

  if (p.binCount > 0) std::memset(p.pHistogram, 0, static_cast<size_t>(p.binCount) * sizeof(uint16_t));
  for (int i = 0; i + 1 < p.valueCount; i += 2) {
    const int y = y_row[p.pPoints[i]], x = x_row[p.pPoints[i + 1]];
    ++p.pHistogram[zero_bin + y + sign * x];
  }
  *p.pResult = GetVariance(p.pHistogram, p.binCount);
}

void* GetVarianceMT(void* pParam) {
  GetVariance_sp(static_cast<const VarianceParam*>(pParam));
  return nullptr;
}

void* SkewAngleDetectJpnMT(void* pParam) {
  const SkewDetectParam& p = *static_cast<const SkewDetectParam*>(pParam);
  if (p.direction == kHorizontal)
    SkewAngleDetect_ThreeSteps_F(p.pEdge, p.width, p.roi, p.pAngle, p.pHorCoarseSin, p.pHorCoarseCos,
                                 p.pHorFineSin, p.pHorFineCos, p.pHorScore, p.pHorAngle);
  else if (p.direction == kVertical)
    SkewAngleDetect_Vert_ThreeSteps_F(p.pEdge, p.width, p.roi, p.pAngle, p.pVertCoarseSin, p.pVertCoarseCos,
                                      p.pVertFineSin, p.pVertFineCos, p.pVertScore, p.pVertAngle);
  return nullptr;
}

int multi_pthread_join(int threadCount, const int32_t* pStartStatus, const pthread_t* pThreads) {
  if (threadCount <= 0) return 1;
  int failures = 0;
  for (int i = 0; i < threadCount; ++i)
    if (pStartStatus[i] == 0 && !joined(pThreads[i])) ++failures;
  return failures;
}
