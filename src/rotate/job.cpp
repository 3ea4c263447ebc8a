// Picks the form of the pixel loop that the processor can run.
#include "rotate/job.h"

#include "core/cpu.h"

namespace skew {

namespace lanes16 {
void rotate_tiles(const RotationJob& job, Columns band);
}
#if defined(SKEW_WIDER_FORMS)
namespace lanes32 {
void rotate_tiles(const RotationJob& job, Columns band);
}
namespace lanes64 {
void rotate_tiles(const RotationJob& job, Columns band);
}
#endif

void run_rotation(const RotationJob& job, Columns band) {
#if defined(SKEW_WIDER_FORMS)
  if (vector_bytes() >= 64) return lanes64::rotate_tiles(job, band);
  if (vector_bytes() >= 32) return lanes32::rotate_tiles(job, band);
#endif
  lanes16::rotate_tiles(job, band);
}

void run_rotation(const RotationJob& job) { run_rotation(job, {0, job.rotation.destination.width}); }

}  // namespace skew
