// The truth set: pages turned by known angles and then spoilt as scanners and telephones spoil them.
#pragma once

#include <string>
#include <vector>

#include "accuracy/image.h"
#include "accuracy/layouts.h"
#include "accuracy/sets.h"

namespace accuracy {

enum class Spoil {
  kScan,     // gray, slightly soft, a little noise
  kBilevel,  // 1 bit: noise and a threshold
  kFaint,    // pale ink on grayish paper
  kSmall,    // 60 to 90 dots an inch
  kPhone,    // on a table, shaded, out of focus, noisy, JPEG
  // What real pages add; photographed the four first, scanned the others.
  kCutAskew,      // the sheet's edges 0.3 to 2 degrees off its text
  kGutter,        // the fold of a book beside the text, up to 1.5 degrees off it
  kSecondPage,    // a part of the page opposite in view, its lines 0.3 to 3 degrees off
  kGround,        // on dark planks, or on a pad with rules
  kClutter,       // rules and pictures at other angles
  kJpeg,          // quality 5 to 20, pale ink
  kHalftone,      // a screen of dots or a dithered picture
  kDustLines,     // one pixel wide, along the image
  kFilledCorners  // turned level before by up to 12 degrees, half a degree left at most
};
const char* name_of(Spoil spoil);

struct Case {
  Kind kind = Kind::kSerif;
  Spoil spoil = Spoil::kScan;
  uint64_t seed = 0;
  double angle = 0;  // degrees, the truth; positive: lines fall to the right
  double other =
      0;  // what the way of spoiling needs: the angle of edges, of the other page, or of the filling
  int width = 0, height = 0;

  std::string name() const;  // unique in the set, fit for a file name
};

// Draws, turns and spoils. The page is drawn at the angle, at twice the size each way, and averaged down, so
// that no interpolation comes between the truth and the pixels.
Gray make_page(const Case& c);

// Every kind of page with every way of spoiling it, three times: turned by up to 15 degrees and by up to 44 in
// the plain ways, and by up to 15 in the others (those on kinds with lines only). A page is drawn when it is
// loaded for the first time, and kept in the cache, a folder.
std::vector<Page> drawn_set(const std::string& cache, int rounds);

}  // namespace accuracy
