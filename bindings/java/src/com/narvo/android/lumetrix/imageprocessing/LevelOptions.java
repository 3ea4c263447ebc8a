package com.narvo.android.lumetrix.imageprocessing;

import java.util.Arrays;

/**
 * What is wanted of levelling. Start from {@link #DEFAULTS} and change what differs:
 *
 * <pre>{@code LevelOptions.DEFAULTS.canvas(Canvas.EXPAND).fill(0xFFFFFFFF)}</pre>
 *
 * <p>Objects of this class never change; each method returns another one. No argument may be null, and no method
 * returns null.
 */
public final class LevelOptions {
  /** What is made level. */
  public enum Align {
    /** The lines of the page, or what else {@link PageAngle#angle} follows. */
    TEXT,
    /** The edges of the sheet, where they are seen. */
    PAPER,
    /** The lines where they are trusted, else the edges of the sheet where they are seen. */
    AUTO
  }

  private static final int SMALLEST = 0, LARGEST = 1, EXPECTED = 2, WITHIN = 3, ALIGN = 4, FORCE = 5, CANVAS = 6,
      FILL_GIVEN = 7, FILL = 8;

  /**
   * The lines of trusted pages, tilted by 0.05 to 45 degrees, on a canvas of the same size, filled with the colour of
   * the page's border.
   */
  public static final LevelOptions DEFAULTS =
      new LevelOptions(new double[] {0.05, 45, 0, 180, 0, 0, 0, 0, 0xFFFFFFFFL});

  private final double[] values;

  private LevelOptions(double[] values) {
    this.values = values;
  }

  /**
   * Sets which tilts are undone; pages that are tilted less or more are left alone.
   *
   * @param smallest degrees, 0 or more
   * @param largest degrees, at least smallest
   * @return other options
   * @throws IllegalArgumentException if one is out of range or NaN
   */
  public LevelOptions angles(double smallest, double largest) {
    require(smallest >= 0 && largest >= smallest, "angles from " + smallest + " to " + largest);
    return with(SMALLEST, smallest).with(LARGEST, largest);
  }

  /**
   * Sets an angle that is known already, from a preview of the page say; pages at another angle are left alone.
   *
   * @param angle degrees, -180 to 180
   * @param within how far a page's angle may lie from it, degrees, 0 or more
   * @return other options
   * @throws IllegalArgumentException if one is out of range or NaN
   */
  public LevelOptions expected(double angle, double within) {
    require(Math.abs(angle) <= 180 && within >= 0, "an angle within " + within + " of " + angle);
    return with(EXPECTED, angle).with(WITHIN, within);
  }

  /**
   * Sets what is made level.
   *
   * @param align text, paper or either
   * @return other options
   */
  public LevelOptions align(Align align) {
    return with(ALIGN, align.ordinal());
  }

  /**
   * Sets whether pages are turned by an angle that is not trusted, too. Blank pages never are.
   *
   * @param force true to turn them
   * @return other options
   */
  public LevelOptions force(boolean force) {
    return with(FORCE, force ? 1 : 0);
  }

  /**
   * Sets the size of the level image.
   *
   * @param canvas keep or expand
   * @return other options
   */
  public LevelOptions canvas(Canvas canvas) {
    return with(CANVAS, canvas.ordinal());
  }

  /**
   * Sets the colour of what comes into view.
   *
   * @param argb the colour; alpha counts for ARGB images alone, gray ones take the colour's luma
   * @return other options
   */
  public LevelOptions fill(int argb) {
    return with(FILL_GIVEN, 1).with(FILL, argb & 0xFFFFFFFFL);
  }

  /**
   * Takes the colour of what comes into view from the page: the median of its border.
   *
   * @return other options
   */
  public LevelOptions fillFromBorder() {
    return with(FILL_GIVEN, 0);
  }

  /** As {@link PageLib#plan} takes them; not to be changed. */
  double[] values() {
    return values;
  }

  private LevelOptions with(int index, double value) {
    double[] changed = values.clone();
    changed[index] = value;
    return new LevelOptions(changed);
  }

  private static void require(boolean good, String what) {
    if (!good) {
      throw new IllegalArgumentException(what + ": out of range");
    }
  }

  @Override
  public boolean equals(Object other) {
    return other instanceof LevelOptions && Arrays.equals(values, ((LevelOptions) other).values);
  }

  @Override
  public int hashCode() {
    return Arrays.hashCode(values);
  }

  @Override
  public String toString() {
    return "level " + Align.values()[(int) values[ALIGN]] + " of " + values[SMALLEST] + " to " + values[LARGEST]
        + " degrees" + (values[WITHIN] < 180 ? ", within " + values[WITHIN] + " of " + values[EXPECTED] : "")
        + (values[FORCE] != 0 ? ", trusted or not" : "") + ", canvas " + Canvas.values()[(int) values[CANVAS]]
        + ", fill "
        + (values[FILL_GIVEN] != 0 ? String.format("#%08X", (long) values[FILL]) : "from the border");
  }
}
