package com.narvo.android.lumetrix.imageprocessing;

/** Native methods beyond the five of {@link ImgSkewCorrectionLib}; they keep no state and need no lock. */
final class PageLib {
  static {
    NativeLibrary.load();
  }

  private PageLib() {}

  /**
   * Turns a gray image counter-clockwise by an angle; uncovered corners become white. Returns 0, 1 for an argument
   * that is out of range, or 3 if an array could not be obtained.
   */
  static native int rotateGray(byte[] src, byte[] dst, int width, int height, double angle);
}
