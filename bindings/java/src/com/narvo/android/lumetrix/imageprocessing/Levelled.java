package com.narvo.android.lumetrix.imageprocessing;

/**
 * What became of a page: the level image, or the page as it was and why it was left alone.
 *
 * <p>Objects of this class never change, except for the pixels. Only {@link #image} may return null.
 *
 * @param <T> what holds the pixels
 */
public final class Levelled<T> {
  /** What was done. */
  public enum Action {
    /** The page was turned. */
    LEVELLED,
    /** Left alone: level already; turning would not change a pixel. */
    LEFT_LEVEL,
    /** Left alone: tilted by less than the smallest angle asked for. */
    LEFT_SMALL,
    /** Left alone: tilted by more than the largest angle asked for. */
    LEFT_LARGE,
    /** Left alone: the angle is not trusted; {@link PageAngle#reason} says why. */
    LEFT_UNTRUSTED,
    /** Left alone: the page has no content to measure. */
    LEFT_BLANK,
    /** Left alone: no edges of a sheet are seen. */
    LEFT_NO_PAPER,
    /** Left alone: too far from the expected angle. */
    LEFT_UNEXPECTED
  }

  private static final int ACTION = 0, ALIGNED = 1, TILT = 2, FILL = 3, TURN = 4, PAGE = TURN + Turn.VALUES;

  /** How many numbers {@link PageLib#plan} writes. */
  static final int VALUES = PAGE + PageAngle.VALUES;

  private final T image;
  private final double[] values;
  private final Turn turn;
  private final PageAngle page;

  /** Takes over what {@link PageLib#plan} wrote. */
  Levelled(T image, int width, int height, double[] values) {
    this(
        image,
        values,
        new Turn(width, height, java.util.Arrays.copyOfRange(values, TURN, PAGE)),
        new PageAngle(java.util.Arrays.copyOfRange(values, PAGE, VALUES)));
  }

  private Levelled(T image, double[] values, Turn turn, PageAngle page) {
    this.image = image;
    this.values = values;
    this.turn = turn;
    this.page = page;
  }

  /**
   * The same about an image in another form.
   *
   * @param <U> what holds its pixels
   * @param image the image; not copied
   * @return another object
   */
  public <U> Levelled<U> withImage(U image) {
    return new Levelled<>(image, values, turn, page);
  }

  /**
   * Returns the pixels.
   *
   * @return the level image, {@code turn().resultWidth()} by {@code turn().resultHeight()} pixels; for a page that
   *     was left alone, what the method that made this object promises; null from the plan methods alone
   */
  public T image() {
    return image;
  }

  /**
   * Returns what was done.
   *
   * @return the action
   */
  public Action action() {
    return Action.values()[(int) values[ACTION]];
  }

  /**
   * Tells whether the page was turned.
   *
   * @return false if it was left alone
   */
  public boolean isLevelled() {
    return action() == Action.LEVELLED;
  }

  /**
   * Returns the angle that the page was turned by.
   *
   * @return degrees, positive for lines that fell to the right; 0.0 if it was left alone
   */
  public double angle() {
    return turn.angle();
  }

  /**
   * Returns the direction that was found, also if the page was left alone for being tilted too little or too much.
   *
   * @return degrees, positive for what falls to the right; 0.0 if none was found
   */
  public double tilt() {
    return values[TILT];
  }

  /**
   * Returns what {@link #tilt} is the direction of.
   *
   * @return text or paper
   */
  public LevelOptions.Align aligned() {
    return LevelOptions.Align.values()[(int) values[ALIGNED]];
  }

  /**
   * Returns the colour of what came into view.
   *
   * @return 0xAARRGGBB
   */
  public int fill() {
    return (int) (long) values[FILL];
  }

  /**
   * Returns how the page was turned, with the size of the result and where points went.
   *
   * @return the rotation; one that moves nothing if the page was left alone
   */
  public Turn turn() {
    return turn;
  }

  /**
   * Returns the measurement.
   *
   * @return what was found on the page
   */
  public PageAngle page() {
    return page;
  }

  @Override
  public String toString() {
    return action() + (isLevelled() ? ": " + turn : ": tilt " + Angles.text(tilt()) + " degrees") + "; " + page;
  }
}
