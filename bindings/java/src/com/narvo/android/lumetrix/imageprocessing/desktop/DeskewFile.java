package com.narvo.android.lumetrix.imageprocessing.desktop;

import com.narvo.android.lumetrix.imageprocessing.ImgSkewCorrectionLib;
import java.awt.image.BufferedImage;
import java.io.File;
import java.io.IOException;
import javax.imageio.ImageIO;

/** A program that levels one image file with a single native call and writes the result as PNG. */
public final class DeskewFile {
  private DeskewFile() {}

  /**
   * Levels an image file.
   *
   * <p>The input may be of any format that ImageIO reads; its EXIF orientation is not applied. Exit codes: 0 success,
   * 1 a file cannot be read or written or the image cannot be measured, 2 wrong arguments.
   *
   * @param arguments the input file and the output file
   */
  public static void main(String[] arguments) {
    if (arguments.length != 2) {
      System.err.println("usage: DeskewFile IN OUT.png");
      System.exit(2);
    }
    try {
      System.out.printf("angle: %.1f degrees%n", deskew(new File(arguments[0]), new File(arguments[1])));
    } catch (IOException error) {
      System.err.println(error.getMessage());
      System.exit(1);
    }
  }

  private static double deskew(File in, File out) throws IOException {
    BufferedImage page = in.canRead() ? ImageIO.read(in) : null;
    if (page == null) {
      throw new IOException(in + ": not a readable image");
    }
    int width = page.getWidth(), height = page.getHeight();
    int[] pixels = ImageDeskewer.argbPixels(page), level = new int[pixels.length];
    int code = ImgSkewCorrectionLib.ImgSkewCorrect_ImageLoadingMode(pixels, level, width, height);
    if (code != 0) {
      throw new IOException(in + ": cannot be measured (code " + code + ")");
    }
    BufferedImage result = ImageDeskewer.fromArgb(level, width, height, page.getColorModel().hasAlpha());
    if (!ImageIO.write(result, "png", out)) {
      throw new IOException(out + ": cannot be written");
    }
    return ImgSkewCorrectionLib.AmountOfSkewInImage();
  }
}
