package com.narvo.android.lumetrix.imageprocessing;

import java.nio.ByteBuffer;

/**
 * Measures page images, turns them level where the measurement can be trusted, and turns images by any angle.
 *
 * <p>Layouts, row by row from the first element on:
 *
 * <ul>
 *   <li>Argb: an {@code int[]} with alpha in bits 24 to 31, red in 16 to 23, green in 8 to 15 and blue in 0 to 7, as
 *       Android's {@code Bitmap.getPixels} gives it; colours not multiplied by alpha
 *   <li>Rgb: a {@code byte[]} of three bytes a pixel, red, green, blue
 *   <li>Gray: a {@code byte[]} of one byte a pixel, 0 black
 *   <li>Gray plane: a direct {@link ByteBuffer} from its position on, with a distance from row to row and from pixel to
 *       pixel in bytes, as the planes of a camera's image have; read-only will do, and no position or limit changes
 * </ul>
 *
 * Arrays and buffers may be longer than the image; what lies beyond is left alone, and the time a call takes follows
 * the image. A result given by the caller is another array or buffer than the source and does not overlap it; its rows
 * follow one another without gaps. Colours are 0xAARRGGBB for every layout: alpha counts for ARGB alone, and gray
 * images take a colour's luma.
 *
 * <p>All methods may be called from any thread and run at the same time, on the same source too. While a call reads
 * or writes an array the Java machine may put off collecting garbage, for some milliseconds of a large image.
 *
 * <p>No argument may be null, and no method returns null. All methods throw {@link NullPointerException} for a missing
 * argument, {@link IllegalArgumentException} for a size below 1, an array or buffer that is too short, strides that do
 * not hold a row, a buffer that is not direct, or a result that overlaps the source, {@link
 * java.nio.ReadOnlyBufferException} for a read-only result, and {@link OutOfMemoryError} when memory runs out. Nothing
 * is written when an exception is thrown.
 */
public final class Deskewer {
  private Deskewer() {}

  // ---- Measuring ----

  /**
   * Measures an ARGB page and says how far the angle can be relied on.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @return the angle and the verdict
   */
  public static PageAngle measurePageArgb(int[] pixels, int width, int height) {
    return Pixels.argb(pixels, width, height, "pixels").plan(LevelOptions.DEFAULTS).page();
  }

  /**
   * Measures an RGB page and says how far the angle can be relied on.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @return the angle and the verdict
   */
  public static PageAngle measurePageRgb(byte[] pixels, int width, int height) {
    return Pixels.rgb(pixels, width, height, "pixels").plan(LevelOptions.DEFAULTS).page();
  }

  /**
   * Measures a gray page and says how far the angle can be relied on.
   *
   * @param pixels width * height bytes
   * @param width columns
   * @param height rows
   * @return the angle and the verdict
   */
  public static PageAngle measurePageGray(byte[] pixels, int width, int height) {
    return Pixels.gray(pixels, width, height, "pixels").plan(LevelOptions.DEFAULTS).page();
  }

  /**
   * Measures a gray plane and says how far the angle can be relied on.
   *
   * @param plane a direct buffer
   * @param width columns
   * @param height rows
   * @param rowStride bytes from row to row
   * @param pixelStride bytes from pixel to pixel
   * @return the angle and the verdict
   */
  public static PageAngle measurePageGray(
      ByteBuffer plane, int width, int height, int rowStride, int pixelStride) {
    return Pixels.plane(plane, width, height, rowStride, pixelStride, "plane")
        .plan(LevelOptions.DEFAULTS)
        .page();
  }

  // ---- Levelling ----

  /**
   * Measures and judges an ARGB page without turning it, so that the caller may turn what it was made of.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @return what to do; it has no image
   */
  public static Levelled<Void> planArgb(int[] pixels, int width, int height, LevelOptions options) {
    return Pixels.argb(pixels, width, height, "pixels").plan(options);
  }

  /**
   * Measures and judges an RGB page without turning it, so that the caller may turn what it was made of.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @return what to do; it has no image
   */
  public static Levelled<Void> planRgb(byte[] pixels, int width, int height, LevelOptions options) {
    return Pixels.rgb(pixels, width, height, "pixels").plan(options);
  }

  /**
   * Measures and judges a gray page without turning it, so that the caller may turn what it was made of.
   *
   * @param pixels width * height bytes
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @return what to do; it has no image
   */
  public static Levelled<Void> planGray(byte[] pixels, int width, int height, LevelOptions options) {
    return Pixels.gray(pixels, width, height, "pixels").plan(options);
  }

  /**
   * Levels an ARGB page with the default options.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @return the level pixels in a new array, or the given array if the page was left alone
   */
  public static Levelled<int[]> levelArgb(int[] pixels, int width, int height) {
    return levelArgb(pixels, width, height, LevelOptions.DEFAULTS);
  }

  /**
   * Levels an ARGB page.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @return the level pixels in a new array, or the given array if the page was left alone
   */
  public static Levelled<int[]> levelArgb(int[] pixels, int width, int height, LevelOptions options) {
    Pixels source = Pixels.argb(pixels, width, height, "pixels");
    Levelled<Void> plan = source.plan(options);
    return plan.withImage(plan.isLevelled() ? rotateArgb(pixels, plan.turn(), plan.fill()) : pixels);
  }

  /**
   * Levels an ARGB page into a given array, which receives a copy of a page that is left alone.
   *
   * @param pixels width * height pixels
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @param result another array, long enough for the page and for the level image
   * @return the result
   */
  public static Levelled<int[]> levelArgb(
      int[] pixels, int width, int height, LevelOptions options, int[] result) {
    Pixels source = Pixels.argb(pixels, width, height, "pixels");
    Pixels.argb(result, width, height, "result");
    Levelled<Void> plan = source.plan(options);
    rotateArgb(pixels, plan.turn(), plan.fill(), result);
    return plan.withImage(result);
  }

  /**
   * Levels an RGB page with the default options.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @return the level bytes in a new array, or the given array if the page was left alone
   */
  public static Levelled<byte[]> levelRgb(byte[] pixels, int width, int height) {
    return levelRgb(pixels, width, height, LevelOptions.DEFAULTS);
  }

  /**
   * Levels an RGB page.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @return the level bytes in a new array, or the given array if the page was left alone
   */
  public static Levelled<byte[]> levelRgb(byte[] pixels, int width, int height, LevelOptions options) {
    Pixels source = Pixels.rgb(pixels, width, height, "pixels");
    Levelled<Void> plan = source.plan(options);
    return plan.withImage(plan.isLevelled() ? rotateRgb(pixels, plan.turn(), plan.fill()) : pixels);
  }

  /**
   * Levels an RGB page into a given array, which receives a copy of a page that is left alone.
   *
   * @param pixels 3 * width * height bytes
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @param result another array, long enough for the page and for the level image
   * @return the result
   */
  public static Levelled<byte[]> levelRgb(
      byte[] pixels, int width, int height, LevelOptions options, byte[] result) {
    Pixels source = Pixels.rgb(pixels, width, height, "pixels");
    Pixels.rgb(result, width, height, "result");
    Levelled<Void> plan = source.plan(options);
    rotateRgb(pixels, plan.turn(), plan.fill(), result);
    return plan.withImage(result);
  }

  /**
   * Levels a gray page with the default options.
   *
   * @param pixels width * height bytes
   * @param width columns
   * @param height rows
   * @return the level bytes in a new array, or the given array if the page was left alone
   */
  public static Levelled<byte[]> levelGray(byte[] pixels, int width, int height) {
    return levelGray(pixels, width, height, LevelOptions.DEFAULTS);
  }

  /**
   * Levels a gray page.
   *
   * @param pixels width * height bytes
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @return the level bytes in a new array, or the given array if the page was left alone
   */
  public static Levelled<byte[]> levelGray(byte[] pixels, int width, int height, LevelOptions options) {
    Pixels source = Pixels.gray(pixels, width, height, "pixels");
    Levelled<Void> plan = source.plan(options);
    return plan.withImage(plan.isLevelled() ? rotateGray(pixels, plan.turn(), plan.fill()) : pixels);
  }

  /**
   * Levels a gray page into a given array, which receives a copy of a page that is left alone.
   *
   * @param pixels width * height bytes
   * @param width columns
   * @param height rows
   * @param options what is wanted
   * @param result another array, long enough for the page and for the level image
   * @return the result
   */
  public static Levelled<byte[]> levelGray(
      byte[] pixels, int width, int height, LevelOptions options, byte[] result) {
    Pixels source = Pixels.gray(pixels, width, height, "pixels");
    Pixels.gray(result, width, height, "result");
    Levelled<Void> plan = source.plan(options);
    rotateGray(pixels, plan.turn(), plan.fill(), result);
    return plan.withImage(result);
  }

  /**
   * Levels a gray plane into a new array, which receives a copy of a page that is left alone.
   *
   * @param plane a direct buffer
   * @param width columns
   * @param height rows
   * @param rowStride bytes from row to row
   * @param pixelStride bytes from pixel to pixel
   * @param options what is wanted
   * @return the level bytes, without gaps
   */
  public static Levelled<byte[]> levelGray(
      ByteBuffer plane, int width, int height, int rowStride, int pixelStride, LevelOptions options) {
    Levelled<Void> plan =
        Pixels.plane(plane, width, height, rowStride, pixelStride, "plane").plan(options);
    return plan.withImage(rotateGray(plane, rowStride, pixelStride, plan.turn(), plan.fill()));
  }

  /**
   * Levels a gray plane into a given buffer, which receives a copy of a page that is left alone.
   *
   * @param plane a direct buffer
   * @param width columns
   * @param height rows
   * @param rowStride bytes from row to row
   * @param pixelStride bytes from pixel to pixel
   * @param options what is wanted
   * @param result another direct buffer, with room for the page and for the level image from its position on
   * @return the result
   */
  public static Levelled<ByteBuffer> levelGray(
      ByteBuffer plane,
      int width,
      int height,
      int rowStride,
      int pixelStride,
      LevelOptions options,
      ByteBuffer result) {
    Pixels source = Pixels.plane(plane, width, height, rowStride, pixelStride, "plane");
    Pixels.result(result, width, height);
    Levelled<Void> plan = source.plan(options);
    Turn turn = plan.turn();
    source.rotate(turn, plan.fill(), Pixels.result(result, turn.resultWidth(), turn.resultHeight()));
    return plan.withImage(result);
  }

  // ---- Turning by any angle ----

  /**
   * Turns an ARGB image into a new array.
   *
   * @param pixels width * height pixels, of the size that the turn names
   * @param turn the rotation
   * @param fill the colour of what comes into view
   * @return the turned pixels, of the result's size that the turn names
   */
  public static int[] rotateArgb(int[] pixels, Turn turn, int fill) {
    Pixels source = Pixels.argb(pixels, turn.width(), turn.height(), "pixels");
    int[] result = new int[Pixels.length(turn, 1)];
    source.rotate(turn, fill, Pixels.argb(result, turn.resultWidth(), turn.resultHeight(), "result"));
    return result;
  }

  /**
   * Turns an ARGB image into a given array.
   *
   * @param pixels width * height pixels, of the size that the turn names
   * @param turn the rotation
   * @param fill the colour of what comes into view
   * @param result receives the turned pixels
   */
  public static void rotateArgb(int[] pixels, Turn turn, int fill, int[] result) {
    Pixels.argb(pixels, turn.width(), turn.height(), "pixels")
        .rotate(turn, fill, Pixels.argb(result, turn.resultWidth(), turn.resultHeight(), "result"));
  }

  /**
   * Turns an RGB image into a new array.
   *
   * @param pixels 3 * width * height bytes, of the size that the turn names
   * @param turn the rotation
   * @param fill the colour of what comes into view
   * @return the turned bytes, of the result's size that the turn names
   */
  public static byte[] rotateRgb(byte[] pixels, Turn turn, int fill) {
    Pixels source = Pixels.rgb(pixels, turn.width(), turn.height(), "pixels");
    byte[] result = new byte[Pixels.length(turn, 3)];
    source.rotate(turn, fill, Pixels.rgb(result, turn.resultWidth(), turn.resultHeight(), "result"));
    return result;
  }

  /**
   * Turns an RGB image into a given array.
   *
   * @param pixels 3 * width * height bytes, of the size that the turn names
   * @param turn the rotation
   * @param fill the colour of what comes into view
   * @param result receives the turned bytes
   */
  public static void rotateRgb(byte[] pixels, Turn turn, int fill, byte[] result) {
    Pixels.rgb(pixels, turn.width(), turn.height(), "pixels")
        .rotate(turn, fill, Pixels.rgb(result, turn.resultWidth(), turn.resultHeight(), "result"));
  }

  /**
   * Turns a gray image into a new array.
   *
   * @param pixels width * height bytes, of the size that the turn names
   * @param turn the rotation
   * @param fill the colour of what comes into view
   * @return the turned bytes, of the result's size that the turn names
   */
  public static byte[] rotateGray(byte[] pixels, Turn turn, int fill) {
    Pixels source = Pixels.gray(pixels, turn.width(), turn.height(), "pixels");
    byte[] result = new byte[Pixels.length(turn, 1)];
    source.rotate(turn, fill, Pixels.gray(result, turn.resultWidth(), turn.resultHeight(), "result"));
    return result;
  }

  /**
   * Turns a gray image into a given array.
   *
   * @param pixels width * height bytes, of the size that the turn names
   * @param turn the rotation
   * @param fill the colour of what comes into view
   * @param result receives the turned bytes
   */
  public static void rotateGray(byte[] pixels, Turn turn, int fill, byte[] result) {
    Pixels.gray(pixels, turn.width(), turn.height(), "pixels")
        .rotate(turn, fill, Pixels.gray(result, turn.resultWidth(), turn.resultHeight(), "result"));
  }

  /**
   * Turns a gray plane into a new array.
   *
   * @param plane a direct buffer with an image of the size that the turn names
   * @param rowStride bytes from row to row
   * @param pixelStride bytes from pixel to pixel
   * @param turn the rotation
   * @param fill the colour of what comes into view
   * @return the turned bytes, of the result's size that the turn names, without gaps
   */
  public static byte[] rotateGray(ByteBuffer plane, int rowStride, int pixelStride, Turn turn, int fill) {
    Pixels source = Pixels.plane(plane, turn.width(), turn.height(), rowStride, pixelStride, "plane");
    byte[] result = new byte[Pixels.length(turn, 1)];
    source.rotate(turn, fill, Pixels.gray(result, turn.resultWidth(), turn.resultHeight(), "result"));
    return result;
  }
}
