// The four tables, computed by the compiler, so that they are read-only data in the finished library. Each is
// a struct, because a constexpr function can return one; the published array is a second name of it.
#include "include/skewcorrection/tables.h"
#include "tables/angle_index.h"

namespace {

constexpr double kRadiansPerIndex = 3.14159265358979323846 / 900;

// first + (its successors in the power series of sine or cosine). Below 1.2 radians fourteen terms leave less
// than the last bit of a double.
constexpr double alternating_series(double term, int order, double radians) {
  double sum = 0;
  for (int i = 0; i < 14; ++i) {
    sum += term;
    term *= -radians * radians / ((order + 1) * (order + 2));
    order += 2;
  }
  return sum;
}

constexpr double sine(double radians) { return alternating_series(radians, 1, radians); }
constexpr double cosine(double radians) { return alternating_series(1, 0, radians); }

struct Waves {
  int32_t values[skew::kAngleCount];
};

struct Products {
  int32_t values[256 * 256];
};

constexpr Waves make_waves(double (*wave)(double)) {
  Waves table = {};
  for (int a = 0; a < skew::kAngleCount; ++a)
    table.values[a] = static_cast<int32_t>(65536 * wave(a * kRadiansPerIndex) + 0.5);
  return table;
}

constexpr Products make_products(const Waves& waves) {
  Products table = {};
  for (int r = 0; r < 256; ++r)
    for (int a = 0; a < 256; ++a) table.values[r * 256 + a] = (r * waves.values[a]) >> 16;
  return table;
}

}  // namespace

extern "C" {
// The targets of an alias need a plain name; hidden, they are no part of the interface.
extern constexpr Waves skew_sines = make_waves(sine);
extern constexpr Waves skew_cosines = make_waves(cosine);
extern constexpr Products skew_sine_products = make_products(skew_sines);
extern constexpr Products skew_cosine_products = make_products(skew_cosines);

extern const int32_t SIN[330] __attribute__((alias("skew_sines")));
extern const int32_t COS[330] __attribute__((alias("skew_cosines")));
extern const int32_t A_tSin_256_226[65536] __attribute__((alias("skew_sine_products")));
extern const int32_t A_tCos_256_226[65536] __attribute__((alias("skew_cosine_products")));
}
