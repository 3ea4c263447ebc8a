// Pages whose pixels are not square, as fax machines make them: what is straight on paper is measured and turned in
// square pixels, and written in the page's own.
#pragma once

#include "files/page.h"
#include "skewcorrection/level.h"

namespace files {

class SquarePixels {
 public:
  // page is used as long as this lives; wanted is false where its pixels will do as they are (quarter turns).
  // Throws Failure.
  explicit SquarePixels(const Page& page, bool wanted = true);

  // The page in square pixels, none fewer than it has.
  const Raster& raster() const { return aspect_ == 1 ? page_.raster : square_; }

  // A raster of square pixels in those of the page.
  Raster restored(Raster&& raster) const;

  // What a transform of the square page does to the page itself.
  SkewTransform restored(const SkewTransform& turned) const;

 private:
  const Page& page_;
  double aspect_;  // how many times finer the page is across than down
  Raster square_;
};

}  // namespace files
