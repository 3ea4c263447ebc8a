package com.narvo.android.lumetrix.imageprocessing.desktop;

import com.narvo.android.lumetrix.imageprocessing.Turn;
import java.awt.image.DataBuffer;
import java.awt.image.Raster;
import java.awt.image.WritableRaster;

/** Turns one channel of any depth, with bilinear interpolation in double precision. */
final class BandRotation {
  private final double[] samples;
  private final int width;
  private final int height;

  private BandRotation(Raster source, int band) {
    width = source.getWidth();
    height = source.getHeight();
    samples = source.getSamples(0, 0, width, height, band, (double[]) null);
  }

  /** Writes a whole channel; pixels whose place lies outside the source take the ground value. */
  static void rotate(Raster source, WritableRaster result, int band, Turn turn, double ground) {
    BandRotation from = new BandRotation(source, band);
    int type = result.getTransferType();
    boolean whole = type != DataBuffer.TYPE_FLOAT && type != DataBuffer.TYPE_DOUBLE;
    double[] row = new double[result.getWidth()];
    for (int y = 0; y < result.getHeight(); ++y) {
      double[] ends = turn.toSource(0.5, y + 0.5, 1.5, y + 0.5);
      double stepX = ends[2] - ends[0], stepY = ends[3] - ends[1];
      for (int x = 0; x < row.length; ++x) {
        double value = from.at(ends[0] + x * stepX - 0.5, ends[1] + x * stepY - 0.5, ground);
        row[x] = whole ? Math.rint(value) : value;
      }
      result.setSamples(0, y, row.length, 1, band, row);
    }
  }

  /** Writes a whole channel of bytes. */
  static void store(byte[] samples, WritableRaster result, int band) {
    int[] row = new int[result.getWidth()];
    for (int y = 0; y < result.getHeight(); ++y) {
      for (int x = 0; x < row.length; ++x) {
        row[x] = samples[y * row.length + x] & 255;
      }
      result.setSamples(0, y, row.length, 1, band, row);
    }
  }

  /** Between the centres of the pixels; in the outer half pixel the border's own values count. */
  private double at(double x, double y, double ground) {
    if (!(x >= -0.5 && x < width - 0.5 && y >= -0.5 && y < height - 0.5)) {
      return ground;
    }
    int left = (int) Math.floor(x), top = (int) Math.floor(y);
    double across = x - left, down = y - top;
    int x0 = Math.max(left, 0), x1 = Math.min(left + 1, width - 1);
    int y0 = Math.max(top, 0) * width, y1 = Math.min(top + 1, height - 1) * width;
    double upper = samples[y0 + x0] * (1 - across) + samples[y0 + x1] * across;
    double lower = samples[y1 + x0] * (1 - across) + samples[y1 + x1] * across;
    return upper * (1 - down) + lower * down;
  }
}
