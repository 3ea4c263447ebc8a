package com.narvo.android.lumetrix.imageprocessing;

/** Page images drawn by the tests: broken dark lines of text height that fall to the right by an angle. */
final class Pages {
  private Pages() {}

  static int[] argb(int width, int height, double degrees) {
    int[] pixels = new int[width * height];
    double sine = Math.sin(Math.toRadians(degrees)), cosine = Math.cos(Math.toRadians(degrees));
    for (int i = 0; i < pixels.length; ++i) {
      double x = i % width, y = i / width;
      int across = Math.floorMod((int) Math.floor(y * cosine - x * sine), 24);
      int along = Math.floorMod((int) Math.floor(x * cosine + y * sine), 11);
      pixels[i] = across < 10 && along < 7 ? 0x80203040 : 0xFFF0E8E0;
    }
    return pixels;
  }

  static byte[] rgb(int[] argb) {
    byte[] bytes = new byte[3 * argb.length];
    for (int i = 0; i < argb.length; ++i) {
      bytes[3 * i] = (byte) (argb[i] >> 16);
      bytes[3 * i + 1] = (byte) (argb[i] >> 8);
      bytes[3 * i + 2] = (byte) argb[i];
    }
    return bytes;
  }

  static byte[] gray(int[] argb) {
    byte[] bytes = new byte[argb.length];
    for (int i = 0; i < argb.length; ++i) {
      int red = argb[i] >> 16 & 255, green = argb[i] >> 8 & 255, blue = argb[i] & 255;
      bytes[i] = (byte) ((306 * red + 601 * green + 117 * blue) >> 10);
    }
    return bytes;
  }
}
