package com.narvo.android.lumetrix.imageprocessing;

import java.util.Objects;

/**
 * Measures the skew of page images and turns them level.
 *
 * <p>Angles are degrees, multiples of 0.2 from -45 to 45. A positive angle means that the text lines fall to the
 * right as displayed; the levelled image is the original turned counter-clockwise by it. Magnitudes below 0.2 leave
 * the image as it is. Pages that lie on their side or upside down stay so. The measurePage methods answer more finely,
 * slower, and with a verdict; they need no lock.
 *
 * <p>Pixel layouts are those of {@link ImgSkewCorrectionLib}. Arrays may be longer than the image; what lies beyond
 * is left alone. Both sides of an image must be at least 32 pixels.
 *
 * <p>All methods may be called from any thread. The others run one after the other, because the native library allows one
 * call at a time; they hold the monitor of {@link ImgSkewCorrectionLib}'s class meanwhile, and code that calls the
 * native methods itself should hold it too.
 *
 * <p>All methods throw {@link NullPointerException} for a missing array, {@link IllegalArgumentException} for an
 * image that is too small, an array that is too short, or a result array that is the source array, {@link
 * OutOfMemoryError} when memory runs out, and {@link IllegalStateException} when the library reports another
 * failure. The result array is not changed when an exception is thrown.
 */
public final class Deskewer {
  /** The shortest side of an image, pixels. */
  public static final int SMALLEST_SIDE = 32;

  private static final String PATH = "-"; // must not be empty; the library does not use it

  private Deskewer() {}

  /**
   * Measures an ARGB image.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @return the angle, degrees
   */
  public static double measureArgb(int[] pixels, int width, int height) {
    require(pixels, "pixels", pixels.length, 1, width, height);
    synchronized (ImgSkewCorrectionLib.class) {
      return angle(ImgSkewCorrectionLib.ImgSkewCorrect_Snapshot(pixels, width, height, PATH));
    }
  }

  /**
   * Measures an RGB image. Needs width * height bytes for a gray copy.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @return the angle, degrees
   */
  public static double measureRgb(byte[] pixels, int width, int height) {
    require(pixels, "pixels", pixels.length, 3, width, height);
    return measureGray(grayOfRgb(pixels, width * height), width, height);
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
    require(pixels, "pixels", pixels.length, 1, width, height);
    synchronized (ImgSkewCorrectionLib.class) {
      return angle(ImgSkewCorrectionLib.ImgSkewCorrect_Preview(pixels, width, height, 0, 0, 0, 0, PATH));
    }
  }

  /**
   * Measures a whole ARGB page and says how far the angle can be relied on. Needs width * height bytes for a gray copy.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @return the angle and the verdict
   */
  public static PageAngle measurePageArgb(int[] pixels, int width, int height) {
    require(pixels, "pixels", pixels.length, 1, width, height);
    byte[] gray = new byte[width * height];
    for (int i = 0; i < gray.length; ++i) {
      gray[i] = luma(pixels[i] >> 16, pixels[i] >> 8, pixels[i]);
    }
    return measurePageGray(gray, width, height);
  }

  /**
   * Measures a whole RGB page and says how far the angle can be relied on. Needs width * height bytes for a gray copy.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @return the angle and the verdict
   */
  public static PageAngle measurePageRgb(byte[] pixels, int width, int height) {
    require(pixels, "pixels", pixels.length, 3, width, height);
    return measurePageGray(grayOfRgb(pixels, width * height), width, height);
  }

  /**
   * Measures a whole gray page and says how far the angle can be relied on.
   *
   * @param pixels width * height bytes
   * @param width columns
   * @param height rows
   * @return the angle and the verdict
   */
  public static PageAngle measurePageGray(byte[] pixels, int width, int height) {
    require(pixels, "pixels", pixels.length, 1, width, height);
    double[] result = new double[5];
    check(PageLib.measureGray(pixels, width, height, result));
    return new PageAngle(result);
  }

  /**
   * Levels an ARGB image into a new array. Uncovered corners become opaque white.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @return the levelled pixels and the angle
   */
  public static Deskewed<int[]> deskewArgb(int[] pixels, int width, int height) {
    require(pixels, "pixels", pixels.length, 1, width, height);
    int[] result = new int[width * height];
    return new Deskewed<>(result, deskewArgb(pixels, result, width, height));
  }

  /**
   * Levels an ARGB image into a given array. Uncovered corners become opaque white.
   *
   * @param pixels width * height pixels
   * @param result receives the levelled pixels; another array of at least that length
   * @param width columns
   * @param height rows
   * @return the angle, degrees
   */
  public static double deskewArgb(int[] pixels, int[] result, int width, int height) {
    require(pixels, "pixels", pixels.length, 1, width, height);
    require(result, "result", result.length, 1, width, height);
    requireOther(pixels, result);
    synchronized (ImgSkewCorrectionLib.class) {
      return angle(ImgSkewCorrectionLib.ImgSkewCorrect_ImageLoadingMode(pixels, result, width, height));
    }
  }

  /**
   * Levels an RGB image into a new array. Uncovered corners become black.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @return the levelled bytes and the angle
   */
  public static Deskewed<byte[]> deskewRgb(byte[] pixels, int width, int height) {
    require(pixels, "pixels", pixels.length, 3, width, height);
    byte[] result = new byte[3 * width * height];
    return new Deskewed<>(result, deskewRgb(pixels, result, width, height));
  }

  /**
   * Levels an RGB image into a given array. Uncovered corners become black.
   *
   * @param pixels 3 * width * height bytes
   * @param result receives the levelled bytes; another array of at least that length
   * @param width columns
   * @param height rows
   * @return the angle, degrees
   */
  public static double deskewRgb(byte[] pixels, byte[] result, int width, int height) {
    require(pixels, "pixels", pixels.length, 3, width, height);
    require(result, "result", result.length, 3, width, height);
    requireOther(pixels, result);
    synchronized (ImgSkewCorrectionLib.class) {
      return angle(ImgSkewCorrectionLib.ImgSkewCorrect_Snapshot_ByteArray(pixels, result, width, height));
    }
  }

  /**
   * Levels a gray image into a new array. Uncovered corners become white.
   *
   * @param pixels width * height bytes
   * @param width columns
   * @param height rows
   * @return the levelled bytes and the angle
   */
  public static Deskewed<byte[]> deskewGray(byte[] pixels, int width, int height) {
    require(pixels, "pixels", pixels.length, 1, width, height);
    byte[] result = new byte[width * height];
    return new Deskewed<>(result, deskewGray(pixels, result, width, height));
  }

  /**
   * Levels a gray image into a given array. Uncovered corners become white.
   *
   * @param pixels width * height bytes
   * @param result receives the levelled bytes; another array of at least that length
   * @param width columns
   * @param height rows
   * @return the angle, degrees
   */
  public static double deskewGray(byte[] pixels, byte[] result, int width, int height) {
    require(pixels, "pixels", pixels.length, 1, width, height);
    require(result, "result", result.length, 1, width, height);
    requireOther(pixels, result);
    double angle = measureGray(pixels, width, height);
    check(PageLib.rotateGray(pixels, result, width, height, angle));
    return angle;
  }

  private static byte[] grayOfRgb(byte[] rgb, int count) {
    byte[] gray = new byte[count];
    for (int i = 0; i < count; ++i) {
      gray[i] = luma(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]);
    }
    return gray;
  }

  /** The library's own luma, of the low 8 bits of each channel. */
  private static byte luma(int red, int green, int blue) {
    return (byte) ((306 * (red & 255) + 601 * (green & 255) + 117 * (blue & 255)) >> 10);
  }

  /** The angle of the call that returned this code; the caller holds the lock since before that call. */
  private static double angle(int code) {
    check(code);
    return ImgSkewCorrectionLib.AmountOfSkewInImage();
  }

  static void check(int code) {
    if (code == 2) {
      throw new OutOfMemoryError("no native memory for a working copy of the image");
    }
    if (code != 0) {
      throw new IllegalStateException(
          "the native library failed with code " + code + ", most likely for lack of memory");
    }
  }

  static void require(Object array, String name, int length, int channels, int width, int height) {
    Objects.requireNonNull(array, name);
    if (width < SMALLEST_SIDE || height < SMALLEST_SIDE) {
      throw new IllegalArgumentException(
          "an image of " + width + " x " + height + " pixels is too small: both sides must be at least "
              + SMALLEST_SIDE);
    }
    long needed = (long) width * height; // below 2^62, so channels times it cannot wrap
    if (needed > Integer.MAX_VALUE / channels || length < channels * needed) {
      throw new IllegalArgumentException(
          name + ": " + width + " x " + height + " pixels of " + channels
              + (channels == 1 ? " element" : " elements") + " do not fit an array of " + length);
    }
  }

  private static void requireOther(Object pixels, Object result) {
    if (pixels == result) {
      throw new IllegalArgumentException("the result must be another array than the source");
    }
  }
}
