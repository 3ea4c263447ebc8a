// Writes the page that bench/java/LevelBench.java works on and times the same work from C, beside OpenCV's rotation.
// Usage: skew_bench_level PAGE.argb
#include <cstdio>
#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "bench/measure.h"
#include "bench/pages.h"
#include "include/skewcorrection/level.h"

namespace {

constexpr int kWidth = 4000, kHeight = 3000, kRounds = 15;
constexpr double kAngle = 3.4;

void print(const bench::Operation& operation) {
  for (const bench::Timing& timing : bench::measure(operation, kRounds).timings)
    if (timing.name != "memcpy") std::printf("%-36s %7.1f ms\n", timing.name.c_str(), timing.milliseconds);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const std::vector<int32_t> page = bench::as_argb(bench::text_page(kWidth, kHeight, kAngle));
  std::FILE* file = std::fopen(arguments[1], "wb");
  if (file == nullptr || std::fwrite(page.data(), sizeof page[0], page.size(), file) != page.size() ||
      std::fclose(file) != 0) {
    std::perror(arguments[1]);
    return 1;
  }
  cv::setNumThreads(1);
  const auto* pixels = reinterpret_cast<const uint32_t*>(page.data());
  std::vector<uint32_t> result(page.size());
  SkewLevel plan;
  const auto measure = [&] { skew_plan_argb(pixels, 4 * kWidth, kWidth, kHeight, nullptr, &plan); };
  const auto turn = [&] {
    skew_rotate_argb(pixels, 4 * kWidth, kWidth, kHeight, plan.angle, plan.canvas, result.data(), 4 * kWidth,
                     plan.fill);
  };
  measure();
  if (plan.action != SKEW_LEVELLED) return 1;
  const cv::Mat source(kHeight, kWidth, CV_8UC4, const_cast<uint32_t*>(pixels));
  cv::Mat turned(kHeight, kWidth, CV_8UC4);
  const cv::Mat matrix =
      cv::getRotationMatrix2D({(kWidth - 1) / 2.0F, (kHeight - 1) / 2.0F}, plan.angle, 1.0);
  print({"level",
         static_cast<double>(page.size()),
         8 * page.size(),
         {{"C: plan and rotate, given array", [&] { measure(), turn(); }},
          {"C: plan alone", measure},
          {"C: rotate alone", turn},
          {"C: cv::warpAffine", [&] {
             cv::warpAffine(source, turned, matrix, source.size(), cv::INTER_LINEAR, cv::BORDER_CONSTANT,
                            cv::Scalar::all(255));
           }}}});
  return 0;
}
