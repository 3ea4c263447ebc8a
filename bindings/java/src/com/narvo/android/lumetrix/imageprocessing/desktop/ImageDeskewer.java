package com.narvo.android.lumetrix.imageprocessing.desktop;

import com.narvo.android.lumetrix.imageprocessing.Deskewer;
import com.narvo.android.lumetrix.imageprocessing.LevelOptions;
import com.narvo.android.lumetrix.imageprocessing.Levelled;
import com.narvo.android.lumetrix.imageprocessing.PageAngle;
import com.narvo.android.lumetrix.imageprocessing.Turn;
import java.awt.color.ColorSpace;
import java.awt.image.BufferedImage;
import java.awt.image.ColorModel;
import java.awt.image.ComponentColorModel;
import java.awt.image.DataBuffer;

/**
 * Measures and levels images of Java's own kind, of any type; results keep the type, the colour space and the depth.
 * Threads, limits and exceptions are those of {@link Deskewer}; no argument may be null, and no method returns null.
 *
 * <p>Images are measured with 8 bits a channel, gray ones by their stored samples. Images of 8 bits a channel are
 * turned by the native library; indexed, one-bit and packed ones too, and each pixel of theirs takes the nearest of the
 * colours they have. Deeper channels are turned here, at full depth.
 */
public final class ImageDeskewer {
  private ImageDeskewer() {}

  /**
   * Measures an image.
   *
   * @param image any image; not changed
   * @return the angle and how far to rely on it
   */
  public static PageAngle measure(BufferedImage image) {
    int width = image.getWidth(), height = image.getHeight();
    return isGray(image)
        ? Deskewer.measurePageGray(graySamples(image), width, height)
        : Deskewer.measurePageArgb(argbPixels(image), width, height);
  }

  /**
   * Levels an image with the default options: one whose angle is not trusted is left alone.
   *
   * @param image any image; not changed
   * @return a new image of the same type, or the given one if it was left alone
   */
  public static Levelled<BufferedImage> level(BufferedImage image) {
    return level(image, LevelOptions.DEFAULTS);
  }

  /**
   * Levels an image.
   *
   * @param image any image; not changed
   * @param options what is wanted
   * @return a new image of the same type, or the given one if it was left alone
   */
  public static Levelled<BufferedImage> level(BufferedImage image, LevelOptions options) {
    int width = image.getWidth(), height = image.getHeight();
    Levelled<?> plan =
        isGray(image)
            ? Deskewer.planGray(graySamples(image), width, height, options)
            : Deskewer.planArgb(argbPixels(image), width, height, options);
    return plan.withImage(plan.isLevelled() ? rotate(image, plan.turn(), plan.fill()) : image);
  }

  /**
   * Turns an image.
   *
   * @param image any image of the size that the turn names; not changed
   * @param turn the rotation
   * @param fill the colour of what comes into view, 0xAARRGGBB
   * @return a new image of the same type
   */
  public static BufferedImage rotate(BufferedImage image, Turn turn, int fill) {
    if (image.getWidth() != turn.width() || image.getHeight() != turn.height()) {
      throw new IllegalArgumentException(
          "an image of " + image.getWidth() + " x " + image.getHeight() + " pixels, and a turn of " + turn);
    }
    int width = turn.resultWidth(), height = turn.resultHeight();
    ColorModel colours = image.getColorModel();
    BufferedImage result =
        new BufferedImage(
            colours,
            image.getRaster().createCompatibleWritableRaster(width, height),
            colours.isAlphaPremultiplied(),
            null);
    if (!(colours instanceof ComponentColorModel)) {
      result.setRGB(0, 0, width, height, Deskewer.rotateArgb(argbPixels(image), turn, fill), 0, width);
      return result;
    }
    boolean bytes = colours.getTransferType() == DataBuffer.TYPE_BYTE;
    for (int band = 0; band < image.getRaster().getNumBands(); ++band) {
      double ground = sample(colours, fill, band);
      if (bytes) {
        int gray = (int) ground;
        byte[] turned = Deskewer.rotateGray(byteSamples(image, band, 0), turn, gray * 0x010101);
        BandRotation.store(turned, result.getRaster(), band);
      } else {
        BandRotation.rotate(image.getRaster(), result.getRaster(), band, turn, ground);
      }
    }
    return result;
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
    byte[] gray = graySamples(image);
    int[] pixels = new int[gray.length];
    boolean alpha = image.getColorModel().hasAlpha();
    for (int i = 0; i < pixels.length; ++i) {
      int opacity = alpha ? image.getColorModel().getAlpha(element(image, i % width, i / width)) : 255;
      pixels[i] = opacity << 24 | (gray[i] & 255) * 0x010101;
    }
    return pixels;
  }

  private static Object element(BufferedImage image, int x, int y) {
    return image.getRaster().getDataElements(x, y, null);
  }

  // By the stored samples, and not through getRGB, which takes them for linear light and changes them.
  private static boolean isGray(BufferedImage image) {
    return image.getColorModel() instanceof ComponentColorModel
        && image.getColorModel().getColorSpace().getType() == ColorSpace.TYPE_GRAY;
  }

  /** The gray channel, with 8 bits. */
  private static byte[] graySamples(BufferedImage image) {
    ColorModel colours = image.getColorModel();
    int type = colours.getTransferType();
    if (type == DataBuffer.TYPE_BYTE || type == DataBuffer.TYPE_USHORT) {
      return byteSamples(image, 0, colours.getComponentSize(0) - 8);
    }
    int width = image.getWidth();
    byte[] samples = new byte[width * image.getHeight()];
    for (int i = 0; i < samples.length; ++i) {
      float value = colours.getNormalizedComponents(element(image, i % width, i / width), null, 0)[0];
      samples[i] = (byte) Math.max(0, Math.min(255, Math.round(value * 255)));
    }
    return samples;
  }

  /** One channel of an image, without its lowest bits. */
  private static byte[] byteSamples(BufferedImage image, int band, int shift) {
    int width = image.getWidth(), height = image.getHeight();
    byte[] samples = new byte[width * height];
    int[] row = new int[width];
    for (int y = 0; y < height; ++y) {
      image.getRaster().getSamples(0, y, width, 1, band, row);
      for (int x = 0; x < width; ++x) {
        samples[y * width + x] = (byte) (shift < 0 ? row[x] << -shift : row[x] >> shift);
      }
    }
    return samples;
  }

  /** What one channel stores for a colour. A gray channel takes its luma as it is. */
  private static double sample(ColorModel colours, int argb, int band) {
    int alpha = argb >>> 24, red = argb >> 16 & 255, green = argb >> 8 & 255, blue = argb & 255;
    boolean gray = colours.getColorSpace().getType() == ColorSpace.TYPE_GRAY;
    float[] normal =
        gray
            ? new float[] {((306 * red + 601 * green + 117 * blue) >> 10) / 255f}
            : colours.getColorSpace().fromRGB(new float[] {red / 255f, green / 255f, blue / 255f});
    float value = band < normal.length ? normal[band] : alpha / 255f;
    if (colours.isAlphaPremultiplied() && band < normal.length) {
      value *= alpha / 255f;
    }
    int type = colours.getTransferType();
    boolean floating = type == DataBuffer.TYPE_FLOAT || type == DataBuffer.TYPE_DOUBLE;
    long largest = (1L << Math.min(colours.getComponentSize(band), type == DataBuffer.TYPE_SHORT ? 15 : 32)) - 1;
    return floating ? value : Math.rint(value * largest);
  }
}
