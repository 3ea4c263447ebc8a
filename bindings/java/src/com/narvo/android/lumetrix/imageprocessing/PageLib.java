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

  /**
   * Measures a gray page. Returns 0, 1 for an argument that is out of range, 2 for lack of memory, or 3 if an array
   * could not be obtained.
   *
   * @param result receives angle, verdict as the ordinal of {@link PageAngle.Verdict}, windows measured, windows
   *     agreeing, spread
   */
  static native int measureGray(byte[] gray, int width, int height, double[] result);
}
