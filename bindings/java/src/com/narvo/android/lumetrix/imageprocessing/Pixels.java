package com.narvo.android.lumetrix.imageprocessing;

import java.nio.ByteBuffer;
import java.nio.ReadOnlyBufferException;
import java.util.Objects;

/** Pixels of the caller, checked: an array or a direct buffer, how they lie in it, and what can be done with them. */
final class Pixels {
  private static final int GRAY = 0, RGB = 1, ARGB = 2, PLANE = 3; // as the native methods number them

  final int width;
  final int height;
  private final Object holder;
  private final int layout;
  private final int offset;
  private final int rowStride;
  private final int pixelStride;

  private Pixels(Object holder, int layout, int offset, int width, int height, int rowStride, int pixelStride) {
    this.holder = holder;
    this.layout = layout;
    this.offset = offset;
    this.width = width;
    this.height = height;
    this.rowStride = rowStride;
    this.pixelStride = pixelStride;
  }

  static Pixels argb(int[] pixels, int width, int height, String name) {
    require(Objects.requireNonNull(pixels, name).length, 1, width, height, name);
    return new Pixels(pixels, ARGB, 0, width, height, 1, 1);
  }

  static Pixels rgb(byte[] pixels, int width, int height, String name) {
    require(Objects.requireNonNull(pixels, name).length, 3, width, height, name);
    return new Pixels(pixels, RGB, 0, width, height, 1, 1);
  }

  static Pixels gray(byte[] pixels, int width, int height, String name) {
    require(Objects.requireNonNull(pixels, name).length, 1, width, height, name);
    return new Pixels(pixels, GRAY, 0, width, height, 1, 1);
  }

  /** A plane of bytes from the buffer's position on. */
  static Pixels plane(
      ByteBuffer plane, int width, int height, int rowStride, int pixelStride, String name) {
    requireDirect(plane, name);
    requireSize(width, height);
    if (pixelStride < 1 || rowStride < (long) (width - 1) * pixelStride + 1) {
      throw new IllegalArgumentException(
          name + ": rows " + rowStride + " bytes apart do not hold " + width + " pixels " + pixelStride
              + " bytes apart");
    }
    long needed = (long) (height - 1) * rowStride + (long) (width - 1) * pixelStride + 1;
    requireRoom(plane.remaining(), needed, width, height, name);
    return new Pixels(plane, PLANE, plane.position(), width, height, rowStride, pixelStride);
  }

  /** A buffer that receives gray pixels without gaps from its position on. */
  static Pixels result(ByteBuffer result, int width, int height) {
    requireDirect(result, "result");
    if (result.isReadOnly()) {
      throw new ReadOnlyBufferException();
    }
    return plane(result, width, height, width, 1, "result");
  }

  /** Measures and judges; the object returned has no image. */
  Levelled<Void> plan(LevelOptions options) {
    double[] values = new double[Levelled.VALUES];
    PageLib.check(
        PageLib.plan(
            holder, layout, offset, width, height, rowStride, pixelStride, options.values(), values));
    return new Levelled<>(null, width, height, values);
  }

  double preview() {
    if (width < Preview.SMALLEST_SIDE || height < Preview.SMALLEST_SIDE) {
      throw new IllegalArgumentException(
          "an image of " + width + " x " + height + " pixels is too small: both sides must be at least "
              + Preview.SMALLEST_SIDE);
    }
    double[] angle = new double[1];
    PageLib.check(PageLib.preview(holder, layout, offset, width, height, rowStride, pixelStride, angle));
    return angle[0];
  }

  /** Turns these pixels into others of the size that the turn names. */
  void rotate(Turn turn, int fill, Pixels result) {
    if (holder == result.holder) {
      throw new IllegalArgumentException("the result must be another array or buffer than the source");
    }
    PageLib.check(
        PageLib.rotate(
            holder,
            layout,
            offset,
            width,
            height,
            rowStride,
            pixelStride,
            turn.angle(),
            turn.canvas().ordinal(),
            fill,
            result.holder,
            result.layout,
            result.offset));
  }

  /** The length of a new array for the result of a turn. */
  static int length(Turn turn, int channels) {
    long needed = (long) turn.resultWidth() * turn.resultHeight(); // below 2^62, so channels times it cannot wrap
    if (needed > Integer.MAX_VALUE / channels) {
      throw new OutOfMemoryError(
          turn.resultWidth() + " x " + turn.resultHeight() + " pixels do not fit a Java array");
    }
    return (int) needed * channels;
  }

  private static void require(int length, int channels, int width, int height, String name) {
    requireSize(width, height);
    long pixels = (long) width * height;
    requireRoom(length, pixels > Integer.MAX_VALUE ? pixels : channels * pixels, width, height, name);
  }

  private static void requireSize(int width, int height) {
    if (width < 1 || height < 1) {
      throw new IllegalArgumentException("an image of " + width + " x " + height + " pixels");
    }
  }

  private static void requireRoom(int length, long needed, int width, int height, String name) {
    if (length < needed) {
      throw new IllegalArgumentException(
          name + ": " + width + " x " + height + " pixels need " + needed + " elements, and there are " + length);
    }
  }

  private static void requireDirect(ByteBuffer buffer, String name) {
    if (!Objects.requireNonNull(buffer, name).isDirect()) {
      throw new IllegalArgumentException(name + ": not a direct buffer (pass its array instead)");
    }
  }
}
