package com.narvo.android.lumetrix.imageprocessing;

import java.util.Arrays;

/**
 * What the measurement of a whole page found, and how far it can be relied on.
 *
 * <p>Angles are degrees, positive for what falls to the right. Objects of this class never change, and no method
 * returns null.
 */
public final class PageAngle {
  /** How far an angle can be relied on. */
  public enum Verdict {
    /** The angle can be used without a look at the page. */
    TRUSTED,
    /** There is content, but no sure direction. The angle is the best guess. */
    UNCERTAIN,
    /** There is nothing to measure. The angle is 0. */
    BLANK
  }

  /** Why an angle is not trusted. */
  public enum Reason {
    /** It is trusted. */
    NONE,
    /** The page is blank. */
    NO_CONTENT,
    /** A few words, or too little of anything. */
    LITTLE_TEXT,
    /** Parts of the page lie at different angles, as two pages in view do. */
    TWO_DIRECTIONS,
    /** The lines fan out or bend: perspective or curled paper. */
    NOT_PARALLEL,
    /** No writing, and the straight parts do not agree well enough. */
    ONLY_STRUCTURE,
    /** The direction may be that of the pixels: JPEG blocks, dither, halftone. */
    RASTER,
    /** The parts of the page do not agree. */
    UNCLEAR
  }

  /** What an angle follows. */
  public enum Basis {
    /** Nothing: a blank page. */
    NONE,
    /** Lines of writing that run across the page. */
    ROWS,
    /** Lines of writing that run down the page. */
    COLUMNS,
    /** No lines of writing: rules, frames, the lines of a drawing. */
    STRUCTURE
  }

  private static final int ANGLE = 0, CONFIDENCE = 1, LOWEST = 2, HIGHEST = 3, PAPER = 4, SPREAD = 5, VERDICT = 6,
      REASON = 7, BASIS = 8, PAPER_FOUND = 9, MEASURED = 10, AGREEING = 11;

  /** How many numbers {@link PageLib} writes for a page. */
  static final int VALUES = 12;

  private final double[] values;

  /** Takes over what {@link PageLib} wrote. */
  PageAngle(double[] values) {
    this.values = values;
  }

  /**
   * Returns the angle of the page; where the direction of its lines varies, that of the middle of the text.
   *
   * @return degrees from -45.5 to 45.5
   */
  public double angle() {
    return values[ANGLE];
  }

  /**
   * Returns how sure the angle is.
   *
   * @return the probability, 0 to 1, that it is within 0.25 degree of the lines' direction
   */
  public double confidence() {
    return values[CONFIDENCE];
  }

  /**
   * Returns how far the angle can be relied on.
   *
   * @return the verdict
   */
  public Verdict verdict() {
    return Verdict.values()[(int) values[VERDICT]];
  }

  /**
   * Tells whether the angle can be used without a look at the page.
   *
   * @return true for {@link Verdict#TRUSTED}
   */
  public boolean isTrusted() {
    return verdict() == Verdict.TRUSTED;
  }

  /**
   * Returns why the angle is not trusted.
   *
   * @return the reason
   */
  public Reason reason() {
    return Reason.values()[(int) values[REASON]];
  }

  /**
   * Returns what the angle follows.
   *
   * @return the basis
   */
  public Basis basis() {
    return Basis.values()[(int) values[BASIS]];
  }

  /**
   * Returns the lower end of the range over which the direction of the lines varies.
   *
   * @return degrees; the angle itself if it does not vary measurably
   */
  public double lowestAngle() {
    return values[LOWEST];
  }

  /**
   * Returns the upper end of the range over which the direction of the lines varies.
   *
   * @return degrees; the angle itself if it does not vary measurably
   */
  public double highestAngle() {
    return values[HIGHEST];
  }

  /**
   * Tells whether the edges of the sheet, or a frame around the text, were seen.
   *
   * @return true if {@link #paperAngle} is known
   */
  public boolean paperFound() {
    return values[PAPER_FOUND] != 0;
  }

  /**
   * Returns the direction of the sheet's edges or of a frame around the text.
   *
   * @return degrees; 0.0 if not seen
   */
  public double paperAngle() {
    return values[PAPER];
  }

  /**
   * Returns how many windows of the page had enough content to be measured on their own.
   *
   * @return a number of windows
   */
  public int windowsMeasured() {
    return (int) values[MEASURED];
  }

  /**
   * Returns how many of the measured windows lie within a degree of the page's angle.
   *
   * @return a number of windows
   */
  public int windowsAgreeing() {
    return (int) values[AGREEING];
  }

  /**
   * Returns how far the agreeing windows lie from the page's angle.
   *
   * @return root mean square distance, degrees
   */
  public double spread() {
    return values[SPREAD];
  }

  @Override
  public boolean equals(Object other) {
    return other instanceof PageAngle && Arrays.equals(values, ((PageAngle) other).values);
  }

  @Override
  public int hashCode() {
    return Arrays.hashCode(values);
  }

  @Override
  public String toString() {
    return verdict() + (isTrusted() ? " " : " (" + reason() + ") ") + Angles.text(angle()) + " degrees";
  }
}
