package com.narvo.android.lumetrix.imageprocessing.android;

import android.graphics.Bitmap;
import com.narvo.android.lumetrix.imageprocessing.Deskewed;
import com.narvo.android.lumetrix.imageprocessing.Deskewer;

/**
 * Measures and levels Android bitmaps. Threads, limits and exceptions are those of {@link Deskewer}.
 *
 * <p>A call holds the pixels of the bitmap as an int array, 4 bytes a pixel, and {@link #deskew} a second one of that
 * size for the result.
 */
public final class BitmapDeskewer {
  private BitmapDeskewer() {}

  /**
   * Measures a bitmap.
   *
   * @param bitmap any bitmap whose pixels can be read; not changed
   * @return the angle, degrees, positive for lines that fall to the right
   */
  public static double measure(Bitmap bitmap) {
    return Deskewer.measureArgb(pixels(bitmap), bitmap.getWidth(), bitmap.getHeight());
  }

  /**
   * Levels a bitmap. Uncovered corners become opaque white.
   *
   * @param bitmap any bitmap whose pixels can be read; not changed
   * @return a new immutable bitmap of the same size with 8 bits a channel, and the angle
   */
  public static Deskewed<Bitmap> deskew(Bitmap bitmap) {
    int width = bitmap.getWidth(), height = bitmap.getHeight();
    Deskewed<int[]> level = Deskewer.deskewArgb(pixels(bitmap), width, height);
    return new Deskewed<>(
        Bitmap.createBitmap(level.image(), width, height, Bitmap.Config.ARGB_8888), level.angle());
  }

  private static int[] pixels(Bitmap bitmap) {
    int width = bitmap.getWidth(), height = bitmap.getHeight();
    int[] pixels = new int[width * height];
    bitmap.getPixels(pixels, 0, width, 0, 0, width, height);
    return pixels;
  }
}
