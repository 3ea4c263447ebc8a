package com.narvo.android.lumetrix.imageprocessing;

/**
 * What the measurement of a whole page found, and how far it can be relied on.
 *
 * <p>The measurement looks at many windows of a finer image than the other methods do, compares them, and refines what
 * they agree on to a few hundredths of a degree.
 */
public final class PageAngle {
  /** How far an angle can be relied on. */
  public enum Verdict {
    /** Several parts of the page agree, and the whole page confirms them. */
    TRUSTED,
    /** There is content, but no sure direction: a picture, a few words. The angle is a guess. */
    UNCERTAIN,
    /** There is nothing to measure. The angle is 0. */
    BLANK
  }

  private final double[] values;

  /** Takes over what {@link PageLib#measureGray} wrote. */
  PageAngle(double[] values) {
    this.values = values;
  }

  /**
   * Returns the angle.
   *
   * @return degrees from -45.5 to 45.5, positive for lines that fall to the right
   */
  public double angle() {
    return values[0];
  }

  /**
   * Returns how far the angle can be relied on.
   *
   * @return the verdict
   */
  public Verdict verdict() {
    return Verdict.values()[(int) values[1]];
  }

  /**
   * Returns how many windows had enough content to be measured on their own.
   *
   * @return a number of windows
   */
  public int windowsMeasured() {
    return (int) values[2];
  }

  /**
   * Returns how many of the measured windows lie within a degree of the page's angle.
   *
   * @return a number of windows
   */
  public int windowsAgreeing() {
    return (int) values[3];
  }

  /**
   * Returns how far the agreeing windows lie from the page's angle.
   *
   * @return root mean square distance, degrees
   */
  public double spread() {
    return values[4];
  }
}
