package android.graphics;

/** What the library uses of Android's class, for the compiler only; it is packed nowhere. */
public final class Bitmap {
  /** Pixel formats. */
  public enum Config {
    /** Eight bits a channel. */
    ARGB_8888
  }

  private Bitmap() {}

  /** Makes a bitmap. */
  public static Bitmap createBitmap(int[] colors, int width, int height, Config config) {
    throw new UnsupportedOperationException();
  }

  /** Columns. */
  public int getWidth() {
    throw new UnsupportedOperationException();
  }

  /** Rows. */
  public int getHeight() {
    throw new UnsupportedOperationException();
  }

  /** Copies pixels out. */
  public void getPixels(int[] pixels, int offset, int stride, int x, int y, int width, int height) {
    throw new UnsupportedOperationException();
  }
}
