package com.narvo.android.lumetrix.imageprocessing;

import java.util.Locale;

/** How angles are printed. */
final class Angles {
  private Angles() {}

  /** To a hundredth of a degree, the same in every country, and never as "-0.00". */
  static String text(double degrees) {
    double rounded = Math.rint(degrees * 100) / 100 + 0.0;
    return String.format(Locale.ROOT, "%.2f", rounded);
  }
}
