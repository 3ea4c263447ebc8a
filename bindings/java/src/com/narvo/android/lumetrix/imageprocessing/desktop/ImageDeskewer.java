package com.narvo.android.lumetrix.imageprocessing.desktop;

import com.narvo.android.lumetrix.imageprocessing.Deskewed;
import com.narvo.android.lumetrix.imageprocessing.Deskewer;
import java.awt.color.ColorSpace;
import java.awt.image.BufferedImage;
import java.awt.image.ComponentColorModel;

/**
 * Measures and levels images of Java's own kind, of any type. Threads, limits and exceptions are those of {@link
 * Deskewer}.
 *
 * <p>Gray images are handled by their stored samples, opaque ones as gray bytes; all others as ARGB in the standard
 * RGB colour space. Deeper channels are cut down to 8 bits.
 */
public final class ImageDeskewer {
  private ImageDeskewer() {}

  /**
   * Measures an image.
   *
   * @param image any image; not changed
   * @return the angle, degrees, positive for lines that fall to the right
   */
  public static double measure(BufferedImage image) {
    int width = image.getWidth(), height = image.getHeight();
    return isOpaqueGray(image)
        ? Deskewer.measureGray(samples(image, 0), width, height)
        : Deskewer.measureArgb(argbPixels(image), width, height);
  }

  /**
   * Levels an image. Uncovered corners become white.
   *
   * @param image any image; not changed
   * @return a new image of the same size and the angle: {@link BufferedImage#TYPE_INT_ARGB} if the image has alpha,
   *     else {@link BufferedImage#TYPE_BYTE_GRAY} for a gray image and {@link BufferedImage#TYPE_INT_RGB} for a
   *     colour image
   */
  public static Deskewed<BufferedImage> deskew(BufferedImage image) {
    int width = image.getWidth(), height = image.getHeight();
    if (isOpaqueGray(image)) {
      Deskewed<byte[]> level = Deskewer.deskewGray(samples(image, 0), width, height);
      BufferedImage result = new BufferedImage(width, height, BufferedImage.TYPE_BYTE_GRAY);
      result.getRaster().setDataElements(0, 0, width, height, level.image());
      return new Deskewed<>(result, level.angle());
    }
    Deskewed<int[]> level = Deskewer.deskewArgb(argbPixels(image), width, height);
    return new Deskewed<>(
        fromArgb(level.image(), width, height, image.getColorModel().hasAlpha()), level.angle());
  }

  /**
   * Returns the pixels of an image in the layout that the native library takes.
   *
   * @param image any image
   * @return width * height ARGB pixels, row by row, colours not multiplied by alpha
   */
  public static int[] argbPixels(BufferedImage image) {
    int width = image.getWidth(), height = image.getHeight();
    if (image.getType() == BufferedImage.TYPE_INT_ARGB) {
      return (int[]) image.getRaster().getDataElements(0, 0, width, height, null);
    }
    if (!isGray(image)) {
      return image.getRGB(0, 0, width, height, null, 0, width);
    }
    byte[] gray = samples(image, 0);
    byte[] alpha = image.getColorModel().hasAlpha() ? samples(image, 1) : null;
    int[] pixels = new int[gray.length];
    for (int i = 0; i < pixels.length; ++i) {
      pixels[i] = (alpha == null ? 0xFF000000 : alpha[i] << 24) | (gray[i] & 255) * 0x010101;
    }
    return pixels;
  }

  /** Makes an image of ARGB pixels; without alpha theirs is dropped. */
  static BufferedImage fromArgb(int[] pixels, int width, int height, boolean alpha) {
    int type = alpha ? BufferedImage.TYPE_INT_ARGB : BufferedImage.TYPE_INT_RGB;
    BufferedImage image = new BufferedImage(width, height, type);
    image.getRaster().setDataElements(0, 0, width, height, pixels);
    return image;
  }

  private static boolean isOpaqueGray(BufferedImage image) {
    return isGray(image) && !image.getColorModel().hasAlpha();
  }

  // By the stored samples, and not through getRGB, which takes them for linear light and changes them.
  private static boolean isGray(BufferedImage image) {
    return image.getColorModel().getColorSpace().getType() == ColorSpace.TYPE_GRAY
        && image.getColorModel() instanceof ComponentColorModel
        && image.getColorModel().getComponentSize(0) >= 8;
  }

  /** One channel of an image, its upper 8 bits. */
  private static byte[] samples(BufferedImage image, int band) {
    int width = image.getWidth(), height = image.getHeight();
    int shift = image.getColorModel().getComponentSize(band) - 8;
    byte[] samples = new byte[width * height];
    int[] row = new int[width];
    for (int y = 0; y < height; ++y) {
      image.getRaster().getSamples(0, y, width, 1, band, row);
      for (int x = 0; x < width; ++x) {
        samples[y * width + x] = (byte) (row[x] >> shift);
      }
    }
    return samples;
  }
}
