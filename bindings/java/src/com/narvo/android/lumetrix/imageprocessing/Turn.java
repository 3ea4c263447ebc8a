package com.narvo.android.lumetrix.imageprocessing;

import java.util.Arrays;
import java.util.Objects;

/**
 * A rotation of an image of some size: by how much, how large the result is, and where each point goes.
 *
 * <p>A positive angle turns the content counter-clockwise as displayed, so turning an image by the angle that was
 * measured in it makes its lines level. A point is a position in pixels from the upper left corner, x to the right
 * and y downward: the centre of the first pixel is (0.5, 0.5).
 *
 * <p>Objects of this class never change. No argument may be null, and no method returns null.
 */
public final class Turn {
  private static final int ANGLE = 0, CANVAS = 1, WIDTH = 2, HEIGHT = 3, MATRIX = 4;

  /** How many numbers {@link PageLib} writes for a turn. */
  static final int VALUES = 10;

  private final int width;
  private final int height;
  private final double[] values;

  /** Takes over what {@link PageLib} wrote. */
  Turn(int width, int height, double[] values) {
    this.width = width;
    this.height = height;
    this.values = values;
  }

  /**
   * Describes a rotation.
   *
   * @param width columns of the image, 1 or more
   * @param height rows of the image, 1 or more
   * @param angle degrees, -180 to 180
   * @param canvas the size of the result
   * @return the rotation
   * @throws IllegalArgumentException for a size or an angle out of range, or NaN
   * @throws OutOfMemoryError if a side of the result would exceed what an int holds
   */
  public static Turn of(int width, int height, double angle, Canvas canvas) {
    Objects.requireNonNull(canvas, "canvas");
    double[] values = new double[VALUES];
    int code = PageLib.transform(width, height, angle, canvas.ordinal(), values);
    if (code == 1) {
      throw new IllegalArgumentException(
          "an image of " + width + " x " + height + " pixels cannot be turned by " + angle + " degrees");
    }
    PageLib.check(code);
    return new Turn(width, height, values);
  }

  /**
   * Returns the width of the image that is turned.
   *
   * @return columns
   */
  public int width() {
    return width;
  }

  /**
   * Returns the height of the image that is turned.
   *
   * @return rows
   */
  public int height() {
    return height;
  }

  /**
   * Returns the angle.
   *
   * @return degrees, positive for counter-clockwise
   */
  public double angle() {
    return values[ANGLE];
  }

  /**
   * Returns what becomes of the size.
   *
   * @return the canvas
   */
  public Canvas canvas() {
    return Canvas.values()[(int) values[CANVAS]];
  }

  /**
   * Returns the width of the result.
   *
   * @return columns
   */
  public int resultWidth() {
    return (int) values[WIDTH];
  }

  /**
   * Returns the height of the result.
   *
   * @return rows
   */
  public int resultHeight() {
    return (int) values[HEIGHT];
  }

  /**
   * Returns the matrix: result x = a x + c y + e, result y = b x + d y + f.
   *
   * @return a, b, c, d, e, f in a new array, in the order that {@code AffineTransform} takes them
   */
  public double[] matrix() {
    return Arrays.copyOfRange(values, MATRIX, VALUES);
  }

  /**
   * Tells where points of the original are in the result.
   *
   * @param points x, y, x, y, ...
   * @return their places in a new array of the same length
   * @throws IllegalArgumentException for an odd number of coordinates
   */
  public double[] toResult(double... points) {
    double[] m = matrix(), moved = checked(points);
    for (int i = 0; i < moved.length; i += 2) {
      double x = points[i], y = points[i + 1];
      moved[i] = m[0] * x + m[2] * y + m[4];
      moved[i + 1] = m[1] * x + m[3] * y + m[5];
    }
    return moved;
  }

  /**
   * Tells where points of the result are in the original.
   *
   * @param points x, y, x, y, ...
   * @return their places in a new array of the same length
   * @throws IllegalArgumentException for an odd number of coordinates
   */
  public double[] toSource(double... points) {
    double[] m = matrix(), moved = checked(points);
    double determinant = m[0] * m[3] - m[1] * m[2];
    for (int i = 0; i < moved.length; i += 2) {
      double x = points[i] - m[4], y = points[i + 1] - m[5];
      moved[i] = (m[3] * x - m[2] * y) / determinant;
      moved[i + 1] = (m[0] * y - m[1] * x) / determinant;
    }
    return moved;
  }

  private static double[] checked(double[] points) {
    if (points.length % 2 != 0) {
      throw new IllegalArgumentException("a point has two coordinates, and " + points.length + " were given");
    }
    return new double[points.length];
  }

  @Override
  public boolean equals(Object other) {
    return other instanceof Turn
        && width == ((Turn) other).width
        && height == ((Turn) other).height
        && Arrays.equals(values, ((Turn) other).values);
  }

  @Override
  public int hashCode() {
    return 31 * (31 * width + height) + Arrays.hashCode(values);
  }

  @Override
  public String toString() {
    return width + " x " + height + " turned by " + Angles.text(angle()) + " degrees to " + resultWidth() + " x "
        + resultHeight();
  }
}
