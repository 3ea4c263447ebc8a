package com.narvo.android.lumetrix.imageprocessing;

import java.nio.ByteBuffer;

/**
 * The quick measurement, for frames of a preview: it looks at a page through its small picture, answers in steps of
 * 0.2 degree, and gives no verdict. {@link Deskewer} measures more finely and says whether to trust the answer.
 *
 * <p>Angles are degrees, multiples of 0.2 from -45 to 45, positive for lines that fall to the right. Layouts, threads
 * and exceptions are those of {@link Deskewer}; besides, both sides of an image must be at least {@link
 * #SMALLEST_SIDE} pixels, or an {@link IllegalArgumentException} is thrown.
 */
public final class Preview {
  /** The shortest side of an image, pixels. */
  public static final int SMALLEST_SIDE = 32;

  private Preview() {}

  /**
   * Measures an ARGB image.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @return the angle, degrees
   */
  public static double measureArgb(int[] pixels, int width, int height) {
    return Pixels.argb(pixels, width, height, "pixels").preview();
  }

  /**
   * Measures an RGB image.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @return the angle, degrees
   */
  public static double measureRgb(byte[] pixels, int width, int height) {
    return Pixels.rgb(pixels, width, height, "pixels").preview();
  }

  /**
   * Measures a gray image.
   *
   * @param pixels width * height bytes
   * @param width columns
   * @param height rows
   * @return the angle, degrees
   */
  public static double measureGray(byte[] pixels, int width, int height) {
    return Pixels.gray(pixels, width, height, "pixels").preview();
  }

  /**
   * Measures a gray plane.
   *
   * @param plane a direct buffer; see {@link Deskewer}
   * @param width columns
   * @param height rows
   * @param rowStride bytes from row to row
   * @param pixelStride bytes from pixel to pixel
   * @return the angle, degrees
   */
  public static double measureGray(ByteBuffer plane, int width, int height, int rowStride, int pixelStride) {
    return Pixels.plane(plane, width, height, rowStride, pixelStride, "plane").preview();
  }
}
