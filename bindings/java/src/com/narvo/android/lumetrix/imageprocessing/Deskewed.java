package com.narvo.android.lumetrix.imageprocessing;

/**
 * A levelled image and the angle it was turned by.
 *
 * @param <T> what holds the pixels
 */
public final class Deskewed<T> {
  private final T image;
  private final double angle;

  /**
   * Keeps both; the image is not copied.
   *
   * @param image the levelled image
   * @param angle the angle that was measured, degrees
   */
  public Deskewed(T image, double angle) {
    this.image = image;
    this.angle = angle;
  }

  /**
   * Returns the levelled image.
   *
   * @return the image given to the constructor
   */
  public T image() {
    return image;
  }

  /**
   * Returns the angle that was measured in the original.
   *
   * @return degrees, positive for lines that fall to the right
   */
  public double angle() {
    return angle;
  }
}
