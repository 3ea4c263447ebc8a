// The horizontal and the vertical three-step search.
#include "include/skewcorrection/skew.h"
#include "skew/three_step_core.h"

namespace {

struct Outputs {
  double *angle, *score, *angle_copy;
};

// sign says which side a positive angle is on. It turns the whole number of steps: a negated angle of 0.0
// would be -0.0.
int search(const uint8_t* edge, int width, const ImgROI& roi, skew::Axis axis, int sign,
           const skew::ProjectionTables& tables, const Outputs& out) {
  *out.angle = 0.0;
  skew::ThreeStepResult result;
  const int status = skew::three_step_search(edge, width, roi, axis, tables, &result);
  if (status != SKEW_OK) return status;
  *out.angle = sign * result.fine_steps * 0.2;
  *out.score = result.score;
  *out.angle_copy = *out.angle;
  return SKEW_OK;
}

}  // namespace

// Rows of a positive angle are differences, y cos - x sin.
int SkewAngleDetect_ThreeSteps_F(const uint8_t* pEdge, int width, ImgROI roi, double* pAngle,
                                 const uint16_t* pCoarseSin, const uint16_t* pCoarseCos,
                                 const uint16_t* pFineSin, const uint16_t* pFineCos, double* pScore,
                                 double* pAngleCopy) {
  return search(pEdge, width, roi, skew::Axis::kRows, 1, {pCoarseSin, pCoarseCos, pFineSin, pFineCos},
                {pAngle, pScore, pAngleCopy});
}

// Columns of a positive angle are sums, x cos + y sin.
int SkewAngleDetect_Vert_ThreeSteps_F(const uint8_t* pEdge, int width, ImgROI roi, double* pAngle,
                                      const uint16_t* pCoarseSin, const uint16_t* pCoarseCos,
                                      const uint16_t* pFineSin, const uint16_t* pFineCos, double* pScore,
                                      double* pAngleCopy) {
  return search(pEdge, width, roi, skew::Axis::kColumns, -1, {pCoarseSin, pCoarseCos, pFineSin, pFineCos},
                {pAngle, pScore, pAngleCopy});
}
