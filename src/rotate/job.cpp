#include "rotate/job.h"

namespace skew {

void run_rotation(const RotationJob& job, Columns band) { kernels<RotationKernels>().rotate(job, band); }

void run_rotation(const RotationJob& job) { run_rotation(job, {0, job.rotation.destination.width}); }

}  // namespace skew
