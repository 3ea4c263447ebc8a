package com.narvo.android.lumetrix.imageprocessing;

/**
 * Native methods beyond the five of {@link ImgSkewCorrectionLib}; they keep no state and need no lock.
 *
 * <p>Pixels are given as the array or direct buffer that holds them, its layout (see {@link Pixels}), the first byte,
 * the size, and the distances of rows and pixels in bytes; what lies outside a buffer or array is refused. All return
 * 0, 1 for an argument that is out of range, or 2 for lack of memory.
 */
final class PageLib {
  static {
    NativeLibrary.load();
  }

  private PageLib() {}

  /**
   * Measures and judges a page.
   *
   * @param options as {@link LevelOptions#values} gives them
   * @param result receives the {@link Levelled#VALUES} numbers of {@link Levelled}
   */
  static native int plan(
      Object pixels,
      int layout,
      int offset,
      int width,
      int height,
      int rowStride,
      int pixelStride,
      double[] options,
      double[] result);

  /**
   * Measures a page through its small picture, in steps of 0.2 degree.
   *
   * @param result receives the angle
   */
  static native int preview(
      Object pixels,
      int layout,
      int offset,
      int width,
      int height,
      int rowStride,
      int pixelStride,
      double[] result);

  /** Turns an image into another array or buffer, without gaps between its rows; they must not overlap. */
  static native int rotate(
      Object pixels,
      int layout,
      int offset,
      int width,
      int height,
      int rowStride,
      int pixelStride,
      double angle,
      int canvas,
      int fill,
      Object result,
      int resultLayout,
      int resultOffset);

  /**
   * Describes a rotation.
   *
   * @param result receives the {@link Turn#VALUES} numbers of {@link Turn}
   */
  static native int transform(int width, int height, double angle, int canvas, double[] result);

  /** Throws what a result code stands for. */
  static void check(int code) {
    if (code == 1) {
      throw new IllegalArgumentException("the source and the result must not overlap");
    }
    if (code != 0) {
      throw new OutOfMemoryError("not enough memory for the work on an image (code " + code + ")");
    }
  }
}
