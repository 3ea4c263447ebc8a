package com.narvo.android.lumetrix.imageprocessing;

/**
 * The native methods of the library, as they are. Programs that were written for
 * them keep working; new ones use {@link Deskewer}.
 *
 * <p>The methods measure how far the text lines of a page image are tilted and turn the image level. None of them
 * may run while another one runs, in the whole process. All image methods keep the measured angle, which {@link
 * #AmountOfSkewInImage} returns afterwards. Both sides of an image must be at least 32 pixels.
 *
 * <p>Pixels lie row by row without gaps. An ARGB pixel is an int with alpha in bits 24 to 31, red in 16 to 23, green
 * in 8 to 15 and blue in 0 to 7; an RGB pixel is three bytes, red, green, blue; a gray pixel is one byte, 0 black.
 *
 * <p>Result codes: 0 success, 2 no memory for the gray copy, 3 invalid argument or any other failure; {@link
 * #ImgSkewCorrect_Snapshot_ByteArray} reports invalid arguments as 1. An array that is too short is an invalid
 * argument. When the Java machine itself has no memory to hand over an array, the methods throw {@link
 * OutOfMemoryError}.
 */
public final class ImgSkewCorrectionLib {
  static {
    NativeLibrary.load();
  }

  private ImgSkewCorrectionLib() {}

  /**
   * Measures a gray image.
   *
   * @param data at least width * height gray bytes; not changed
   * @param width columns
   * @param height rows
   * @param reserved1 zero or more, not used
   * @param reserved2 zero or more, not used
   * @param reserved3 zero or more, not used
   * @param reserved4 zero or more, not used
   * @param pDataPath 1 to 255 bytes in modified UTF-8, not used otherwise; with a string of another length the
   *     result is 0 although nothing is measured
   * @return 0, 2 or 3
   */
  public static native int ImgSkewCorrect_Preview(
      byte[] data,
      int width,
      int height,
      int reserved1,
      int reserved2,
      int reserved3,
      int reserved4,
      String pDataPath);

  /**
   * Measures an ARGB image.
   *
   * @param data at least width * height pixels; not changed
   * @param width columns
   * @param height rows
   * @param pDataPath as for {@link #ImgSkewCorrect_Preview}
   * @return 0, 2 or 3
   */
  public static native int ImgSkewCorrect_Snapshot(int[] data, int width, int height, String pDataPath);

  /**
   * Measures an ARGB image and turns it level. Corners that the turned image does not cover become opaque white.
   *
   * @param src at least width * height pixels; not changed
   * @param dst another array of at least that length, which receives the turned image
   * @param width columns
   * @param height rows
   * @return 0, 2 or 3
   */
  public static native int ImgSkewCorrect_ImageLoadingMode(int[] src, int[] dst, int width, int height);

  /**
   * Measures an RGB image and turns it level. Corners that the turned image does not cover become black.
   *
   * @param src at least 3 * width * height bytes; not changed
   * @param dst another array of at least that length, which receives the turned image
   * @param width columns
   * @param height rows
   * @return 0, 1, 2 or 3
   */
  public static native int ImgSkewCorrect_Snapshot_ByteArray(byte[] src, byte[] dst, int width, int height);

  /**
   * Returns the angle of the last measurement that succeeded.
   *
   * @return degrees, a multiple of 0.2 from -45 to 45, positive for lines that fall to the right; 0.0 before the
   *     first measurement
   */
  public static native double AmountOfSkewInImage();
}
