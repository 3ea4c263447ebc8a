// Picks the form of the pixel loop that the processor can run.
#include "rotate/job.h"

#include "core/cpu.h"

namespace skew {

namespace lanes16 {
void rotate_tiles(const RotationJob& job, Columns band);
}
#if defined(SKEW_AVX2_FORMS)
namespace lanes32 {
void rotate_tiles(const RotationJob& job, Columns band);
}
#endif

void run_rotation(const RotationJob& job, Columns band) {
#if defined(SKEW_AVX2_FORMS)
  if (has_avx2()) return lanes32::rotate_tiles(job, band);
#endif
  lanes16::rotate_tiles(job, band);
}

void run_rotation(const RotationJob& job) { run_rotation(job, {0, job.rotation.destination.width}); }

}  // namespace skew
