package com.narvo.android.lumetrix.imageprocessing.android;

import android.graphics.Bitmap;
import com.narvo.android.lumetrix.imageprocessing.Deskewer;
import com.narvo.android.lumetrix.imageprocessing.LevelOptions;
import com.narvo.android.lumetrix.imageprocessing.Levelled;
import com.narvo.android.lumetrix.imageprocessing.PageAngle;

/**
 * Measures and levels Android bitmaps. Threads, limits and exceptions are those of {@link Deskewer}; no argument may be
 * null, and no method returns null.
 *
 * <p>A call holds the pixels of the bitmap as an int array, 4 bytes a pixel, and levelling a second one for the result.
 */
public final class BitmapDeskewer {
  private BitmapDeskewer() {}

  /**
   * Measures a bitmap.
   *
   * @param bitmap any bitmap whose pixels can be read; not changed
   * @return the angle and how far to rely on it
   */
  public static PageAngle measure(Bitmap bitmap) {
    return Deskewer.measurePageArgb(pixels(bitmap), bitmap.getWidth(), bitmap.getHeight());
  }

  /**
   * Levels a bitmap with the default options: one whose angle is not trusted is left alone.
   *
   * @param bitmap any bitmap whose pixels can be read; not changed
   * @return a new immutable bitmap with 8 bits a channel, or the given one if it was left alone
   */
  public static Levelled<Bitmap> level(Bitmap bitmap) {
    return level(bitmap, LevelOptions.DEFAULTS);
  }

  /**
   * Levels a bitmap.
   *
   * @param bitmap any bitmap whose pixels can be read; not changed
   * @param options what is wanted
   * @return a new immutable bitmap with 8 bits a channel, or the given one if it was left alone
   */
  public static Levelled<Bitmap> level(Bitmap bitmap, LevelOptions options) {
    Levelled<int[]> level =
        Deskewer.levelArgb(pixels(bitmap), bitmap.getWidth(), bitmap.getHeight(), options);
    if (!level.isLevelled()) {
      return level.withImage(bitmap);
    }
    int width = level.turn().resultWidth(), height = level.turn().resultHeight();
    return level.withImage(Bitmap.createBitmap(level.image(), width, height, Bitmap.Config.ARGB_8888));
  }

  private static int[] pixels(Bitmap bitmap) {
    int width = bitmap.getWidth(), height = bitmap.getHeight();
    int[] pixels = new int[width * height];
    bitmap.getPixels(pixels, 0, width, 0, 0, width, height);
    return pixels;
  }
}
