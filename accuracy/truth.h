// The truth set: pages turned by known angles and then spoilt as scanners and telephones spoil them.
#pragma once

#include <string>
#include <vector>

#include "accuracy/image.h"
#include "accuracy/layouts.h"

namespace accuracy {

enum class Spoil {
  kScan,     // gray, slightly soft, a little noise
  kBilevel,  // 1 bit: noise and a threshold
  kFaint,    // pale ink on grayish paper
  kSmall,    // 60 to 90 dots an inch
  kPhone     // on a table, shaded, out of focus, noisy, JPEG
};
const char* name_of(Spoil spoil);

struct Case {
  Kind kind = Kind::kSerif;
  Spoil spoil = Spoil::kScan;
  uint64_t seed = 0;
  double angle = 0;  // degrees, the truth; positive: lines fall to the right
  int width = 0, height = 0;

  std::string name() const;  // unique in the set, fit for a file name
};

// The set for one seed base: every kind of page with every way of spoiling it, turned by random angles up to
// the limit. Different bases share no page.
std::vector<Case> truth_set(uint64_t base, double limit, int rounds);

// Draws, turns and spoils. The page is drawn at the angle, at twice the size each way, and averaged down, so
// that no interpolation comes between the truth and the pixels.
Gray make_page(const Case& c);

}  // namespace accuracy
