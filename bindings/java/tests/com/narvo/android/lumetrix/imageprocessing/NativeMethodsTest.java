package com.narvo.android.lumetrix.imageprocessing;

import static com.narvo.android.lumetrix.imageprocessing.ImgSkewCorrectionLib.AmountOfSkewInImage;
import static com.narvo.android.lumetrix.imageprocessing.ImgSkewCorrectionLib.ImgSkewCorrect_ImageLoadingMode;
import static com.narvo.android.lumetrix.imageprocessing.ImgSkewCorrectionLib.ImgSkewCorrect_Preview;
import static com.narvo.android.lumetrix.imageprocessing.ImgSkewCorrectionLib.ImgSkewCorrect_Snapshot;
import static com.narvo.android.lumetrix.imageprocessing.ImgSkewCorrectionLib.ImgSkewCorrect_Snapshot_ByteArray;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;

import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.Arrays;
import java.util.TreeSet;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** The five native methods on a real Java machine. */
class NativeMethodsTest {
  private long acquired;

  @BeforeEach
  void openLedger() {
    acquired = Ledger.acquired();
  }

  @AfterEach
  void closeLedger() {
    assertEquals(0, Ledger.held());
  }

  private void assertAcquired(int expected) {
    assertEquals(expected, Ledger.acquired() - acquired);
    acquired = Ledger.acquired();
  }

  /** Measures a page of another angle, so that the angle of a later call shows. */
  private void measureAnother() {
    assertEquals(0, ImgSkewCorrect_Snapshot(Pages.argb(320, 240, -12), 320, 240, "x"));
    assertEquals(-12.0, AmountOfSkewInImage(), 0.5);
    acquired = Ledger.acquired();
  }

  @Test
  void theClassHasExactlyTheFiveNativeMethods() {
    TreeSet<String> names = new TreeSet<>();
    for (Method method : ImgSkewCorrectionLib.class.getDeclaredMethods()) {
      if (Modifier.isNative(method.getModifiers())) {
        names.add(method.getName());
      }
    }
    assertEquals(
        "[AmountOfSkewInImage, ImgSkewCorrect_ImageLoadingMode, ImgSkewCorrect_Preview, ImgSkewCorrect_Snapshot,"
            + " ImgSkewCorrect_Snapshot_ByteArray]",
        names.toString());
  }

  @Test
  void allFourMethodsFindTheSameAngleAtAnyWidth() {
    for (int width = 640; width <= 643; ++width) {
      int[] argb = Pages.argb(width, 480, 7);
      byte[] gray = Pages.gray(argb), rgb = Pages.rgb(argb), rgbResult = new byte[rgb.length];
      int[] result = new int[argb.length + 5];
      Arrays.fill(result, 0x12345678);

      assertEquals(0, ImgSkewCorrect_Preview(gray, width, 480, 0, 1, Integer.MAX_VALUE, 0, "page.jpg"));
      assertAcquired(2);
      double angle = AmountOfSkewInImage();
      assertEquals(7.0, angle, 0.5);
      measureAnother();
      assertEquals(0, ImgSkewCorrect_Snapshot(argb, width, 480, "page.jpg"));
      assertAcquired(2);
      assertEquals(angle, AmountOfSkewInImage());
      measureAnother();
      assertEquals(0, ImgSkewCorrect_ImageLoadingMode(argb, result, width, 480));
      assertAcquired(2);
      assertEquals(angle, AmountOfSkewInImage());
      measureAnother();
      assertEquals(0, ImgSkewCorrect_Snapshot_ByteArray(rgb, rgbResult, width, 480));
      assertAcquired(2);
      assertEquals(angle, AmountOfSkewInImage());

      assertArrayEquals(Pages.gray(Pages.argb(width, 480, 7)), gray, "sources stay as they are");
      assertArrayEquals(Pages.argb(width, 480, 7), argb);
      assertEquals(-1, result[0], "uncovered ARGB corners are opaque white");
      assertEquals(0, rgbResult[0] | rgbResult[1] | rgbResult[2], "uncovered RGB corners are black");
      assertEquals(0x12345678, result[argb.length], "what lies beyond the image is left alone");
      measureAnother();
      assertEquals(0, ImgSkewCorrect_Snapshot(result, width, 480, "x"));
      assertAcquired(2);
      assertEquals(0.0, AmountOfSkewInImage(), 0.21, "the result is level");
    }
  }

  @Test
  void badArgumentsAreRefusedAndKeepTheAngle() {
    int[] argb = Pages.argb(64, 48, 7);
    int[] shortArgb = new int[64 * 48 - 1];
    byte[] gray = Pages.gray(argb), rgb = Pages.rgb(argb);
    byte[] shortGray = new byte[64 * 48 - 1], shortRgb = new byte[3 * 64 * 48 - 1];
    measureAnother();
    double angle = AmountOfSkewInImage();

    assertEquals(3, ImgSkewCorrect_Preview(shortGray, 64, 48, 0, 0, 0, 0, "x"));
    assertEquals(3, ImgSkewCorrect_Preview(null, 64, 48, 0, 0, 0, 0, "x"));
    assertEquals(3, ImgSkewCorrect_Preview(gray, 64, 48, 0, 0, -1, 0, "x"));
    assertEquals(3, ImgSkewCorrect_Preview(gray, 64, 48, 0, 0, 0, 0, null));
    assertEquals(3, ImgSkewCorrect_Snapshot(shortArgb, 64, 48, "x"));
    assertEquals(3, ImgSkewCorrect_Snapshot(argb, 65536, 65536, "x"));
    assertEquals(3, ImgSkewCorrect_ImageLoadingMode(argb, shortArgb, 64, 48));
    assertEquals(3, ImgSkewCorrect_ImageLoadingMode(shortArgb, argb.clone(), 64, 48));
    assertEquals(3, ImgSkewCorrect_ImageLoadingMode(argb, null, 64, 48));
    assertEquals(1, ImgSkewCorrect_Snapshot_ByteArray(shortRgb, rgb.clone(), 64, 48));
    assertEquals(1, ImgSkewCorrect_Snapshot_ByteArray(rgb, shortRgb, 64, 48));
    assertEquals(1, ImgSkewCorrect_Snapshot_ByteArray(rgb, rgb.clone(), 0, 48));
    assertAcquired(0);
    assertEquals(3, ImgSkewCorrect_Snapshot_ByteArray(new byte[3 * 31 * 31], new byte[3 * 31 * 31], 31, 31));
    assertAcquired(1);
    assertEquals(angle, AmountOfSkewInImage());
  }

  @Test
  void pathsOfOneTo255BytesAreAccepted() {
    byte[] gray = Pages.gray(Pages.argb(320, 240, 7));
    char[] letters = new char[256];
    Arrays.fill(letters, 'a');
    String longest = new String(letters, 0, 255), tooLong = new String(letters);
    String twoBytes = new String(letters, 0, 127).replace('a', '\u00e4'); // 254 bytes
    for (String path : new String[] {"", tooLong, twoBytes + "aa", longest, twoBytes + "a"}) {
      boolean accepted = path.equals(longest) || path.equals(twoBytes + "a");
      measureAnother();
      double before = AmountOfSkewInImage();
      assertEquals(0, ImgSkewCorrect_Preview(gray, 320, 240, 0, 0, 0, 0, path));
      assertAcquired(2);
      if (accepted) {
        assertNotEquals(before, AmountOfSkewInImage());
      } else {
        assertEquals(before, AmountOfSkewInImage());
      }
    }
  }
}
