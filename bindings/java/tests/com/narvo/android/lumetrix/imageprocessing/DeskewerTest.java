package com.narvo.android.lumetrix.imageprocessing;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.ByteBuffer;
import java.nio.ReadOnlyBufferException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** The classes that wrap the native methods. */
class DeskewerTest {
  private static final int WIDTH = 801, HEIGHT = 700, ROW = 3 * WIDTH + 5, GAP = 3;
  private static final double DEGREES = -3.37;
  private static final LevelOptions WHOLE = LevelOptions.DEFAULTS.canvas(Canvas.EXPAND).fill(0x80FF0000);

  private final int[] argb = Pages.argb(WIDTH, HEIGHT, DEGREES);
  private final byte[] rgb = Pages.rgb(argb), gray = Pages.gray(argb);

  @AfterEach
  void everythingWasGivenBack() {
    assertEquals(0, Ledger.held());
  }

  /** The gray page in a buffer with other bytes around every pixel. */
  private ByteBuffer plane() {
    ByteBuffer plane = ByteBuffer.allocateDirect(11 + HEIGHT * ROW);
    for (int i = 0; i < gray.length; ++i) {
      plane.put(11 + i / WIDTH * ROW + i % WIDTH * GAP, gray[i]);
    }
    plane.position(11);
    return plane;
  }

  @Test
  void everyLayoutIsMeasuredAndLevelledAlike() {
    ByteBuffer plane = plane(), readOnly = plane.asReadOnlyBuffer();
    PageAngle page = Deskewer.measurePageGray(gray, WIDTH, HEIGHT);
    assertEquals(DEGREES, page.angle(), 0.1);
    assertTrue(page.isTrusted() && page.confidence() > 0.5, page.toString());
    assertEquals(PageAngle.Basis.ROWS, page.basis());
    assertEquals(PageAngle.Reason.NONE, page.reason());
    assertTrue(page.lowestAngle() <= page.angle() && page.angle() <= page.highestAngle());
    assertTrue(page.windowsAgreeing() > 1 && page.windowsAgreeing() <= page.windowsMeasured());
    assertEquals(page, Deskewer.measurePageArgb(argb, WIDTH, HEIGHT));
    assertEquals(page, Deskewer.measurePageRgb(rgb, WIDTH, HEIGHT));
    assertEquals(page, Deskewer.measurePageGray(readOnly, WIDTH, HEIGHT, ROW, GAP));

    Levelled<byte[]> level = Deskewer.levelGray(gray, WIDTH, HEIGHT, WHOLE);
    Turn turn = level.turn();
    assertEquals(Levelled.Action.LEVELLED, level.action());
    assertEquals(page.angle(), level.angle());
    assertTrue(turn.resultWidth() > WIDTH && turn.resultHeight() > HEIGHT, turn.toString());
    assertEquals(0x4C, level.image()[0], "the luma of red");
    assertEquals(
        0.0,
        Deskewer.measurePageGray(level.image(), turn.resultWidth(), turn.resultHeight()).angle(),
        0.03);
    Levelled<int[]> argbLevel = Deskewer.levelArgb(argb, WIDTH, HEIGHT, WHOLE);
    assertEquals(0x80FF0000, argbLevel.image()[0]);
    assertEquals(turn, argbLevel.turn());
    Levelled<byte[]> rgbLevel = Deskewer.levelRgb(rgb, WIDTH, HEIGHT, WHOLE);
    assertArrayEquals(new byte[] {-1, 0, 0}, Arrays.copyOf(rgbLevel.image(), 3));
    int middle = turn.resultHeight() / 2 * turn.resultWidth() + turn.resultWidth() / 2;
    for (int k = 0; k < 3; ++k) {
      int colour = argbLevel.image()[middle] >> 16 - 8 * k & 255;
      assertEquals(colour, rgbLevel.image()[3 * middle + k] & 255, 1);
    }
    assertArrayEquals(
        level.image(), Deskewer.levelGray(plane, WIDTH, HEIGHT, ROW, GAP, WHOLE).image(), "gathered pixels");
    ByteBuffer result = ByteBuffer.allocateDirect(level.image().length + 4);
    result.position(4);
    assertSame(result, Deskewer.levelGray(plane, WIDTH, HEIGHT, ROW, GAP, WHOLE, result).image());
    byte[] written = new byte[level.image().length];
    result.get(written);
    assertArrayEquals(level.image(), written);
    assertEquals(11, plane.position());
    assertArrayEquals(Pages.argb(WIDTH, HEIGHT, DEGREES), argb, "sources stay as they are");
  }

  @Test
  void aPageThatIsLeftAloneIsTheResult() {
    byte[] white = new byte[64 * 64], result = new byte[64 * 64 + 1];
    Arrays.fill(white, (byte) 250);
    Levelled<byte[]> level = Deskewer.levelGray(white, 64, 64);
    assertSame(white, level.image());
    assertEquals(Levelled.Action.LEFT_BLANK, level.action());
    assertEquals(PageAngle.Verdict.BLANK, level.page().verdict());
    assertEquals(0xFFFAFAFA, level.fill(), "the border's colour");
    assertEquals("LEFT_BLANK: tilt 0.00 degrees; BLANK (NO_CONTENT) 0.00 degrees", level.toString());
    assertSame(result, Deskewer.levelGray(white, 64, 64, LevelOptions.DEFAULTS, result).image());
    assertArrayEquals(Arrays.copyOf(white, 64 * 64 + 1), result, "a copy, and nothing behind it");

    LevelOptions options = LevelOptions.DEFAULTS;
    Object[][] cases = {
      {options.angles(0, 3), Levelled.Action.LEFT_LARGE}, {options.angles(4, 5), Levelled.Action.LEFT_SMALL},
      {options.expected(3, 1), Levelled.Action.LEFT_UNEXPECTED}, {options.expected(-3, 1), Levelled.Action.LEVELLED},
      {options.align(LevelOptions.Align.PAPER), Levelled.Action.LEFT_NO_PAPER}
    };
    for (Object[] c : cases) {
      assertEquals(c[1], Deskewer.planArgb(argb, WIDTH, HEIGHT, (LevelOptions) c[0]).action(), c[0].toString());
    }
  }

  @Test
  void imagesTurnByAnyAngleAndPointsGoWithThem() {
    int[] image = new int[40 * 30];
    image[20 * 40 + 5] = 0xFF00FF00; // its centre is (5.5, 20.5)
    Turn quarter = Turn.of(40, 30, 90, Canvas.EXPAND);
    assertEquals("40 x 30 turned by 90.00 degrees to 30 x 40", quarter.toString());
    double[] point = quarter.toResult(5.5, 20.5);
    assertArrayEquals(new double[] {20.5, 34.5}, point, 1e-9);
    assertEquals(0xFF00FF00, Deskewer.rotateArgb(image, quarter, 0)[34 * 30 + 20]);
    Turn skew = Turn.of(40, 30, -12.34, Canvas.KEEP);
    assertArrayEquals(new double[] {7, 8, -9, 50}, skew.toSource(skew.toResult(7, 8, -9, 50)), 1e-9);
    assertEquals(skew, Turn.of(40, 30, -12.34, Canvas.KEEP));
    assertNotEquals(skew, Turn.of(40, 30, -12.34, Canvas.EXPAND));

    byte[] turned = new byte[3 * 40 * 30];
    Deskewer.rotateRgb(Pages.rgb(image), skew, 0x010203, turned);
    assertArrayEquals(new byte[] {1, 2, 3}, Arrays.copyOf(turned, 3));
    byte[] small = Pages.gray(image);
    ByteBuffer direct = ByteBuffer.allocateDirect(small.length).put(small);
    direct.flip();
    assertArrayEquals(Deskewer.rotateGray(small, skew, -1), Deskewer.rotateGray(direct, 40, 1, skew, -1));
  }

  @Test
  void badCallsAreRefusedWithAReasonAndWriteNothing() {
    ByteBuffer plane = plane(), heap = ByteBuffer.allocate(10000), direct = ByteBuffer.allocateDirect(2500);
    Turn turn = Turn.of(50, 40, 3, Canvas.KEEP);
    int[] result = new int[WIDTH * HEIGHT];
    LevelOptions options = LevelOptions.DEFAULTS;
    double nan = Double.NaN;
    Executable[] calls = {
      () -> Preview.measureArgb(argb, 31, HEIGHT),
      () -> Preview.measureGray(gray, WIDTH, -HEIGHT),
      () -> Deskewer.measurePageArgb(argb, WIDTH + 1, HEIGHT),
      () -> Deskewer.measurePageArgb(argb, 65536, 65536),
      () -> Deskewer.measurePageRgb(gray, WIDTH, HEIGHT),
      () -> Deskewer.measurePageGray(gray, WIDTH, HEIGHT + 1),
      () -> Deskewer.measurePageGray(gray, 0, HEIGHT),
      () -> Deskewer.levelRgb(rgb, 43691, 32768),
      () -> Deskewer.levelArgb(argb, WIDTH, HEIGHT, options, new int[argb.length - 1]),
      () -> Deskewer.levelArgb(argb, WIDTH, HEIGHT, WHOLE, result), // too short for the expanded canvas
      () -> Deskewer.levelGray(gray, WIDTH, HEIGHT, options, gray),
      () -> Deskewer.measurePageGray(heap, 50, 40, 50, 1),
      () -> Deskewer.measurePageGray(plane, WIDTH, HEIGHT, ROW, GAP + 1),
      () -> Deskewer.measurePageGray(plane, WIDTH, HEIGHT, 2 * WIDTH, GAP),
      () -> Deskewer.measurePageGray(plane, WIDTH, HEIGHT, ROW, 0),
      () -> Deskewer.measurePageGray(plane, WIDTH, HEIGHT + 1, ROW, GAP),
      () -> Deskewer.measurePageGray(plane, WIDTH, HEIGHT, Integer.MAX_VALUE, GAP),
      () -> Deskewer.levelGray(direct, 50, 40, 50, 1, options, direct),
      () -> Deskewer.levelGray(direct, 50, 40, 50, 1, options, direct.duplicate()), // the same memory
      () -> Deskewer.levelGray(direct, 50, 40, 50, 1, options, heap),
      () -> Deskewer.rotateGray(gray, turn, 0, gray),
      () -> Deskewer.rotateArgb(new int[1999], turn, 0),
      () -> Turn.of(50, 40, nan, Canvas.KEEP),
      () -> Turn.of(50, -1, 3, Canvas.KEEP),
      () -> turn.toResult(1, 2, 3),
      () -> options.angles(nan, 45),
      () -> options.angles(5, 4),
      () -> options.expected(nan, 1),
      () -> options.expected(1, -1)
    };
    for (int i = 0; i < calls.length; ++i) {
      Throwable refused = assertThrows(IllegalArgumentException.class, calls[i], "call " + i);
      assertTrue(refused.getMessage().length() > 20, refused.getMessage());
    }
    assertThrows(
        ReadOnlyBufferException.class,
        () -> Deskewer.levelGray(plane, WIDTH, HEIGHT, ROW, GAP, options, direct.asReadOnlyBuffer()));
    assertThrows(NullPointerException.class, () -> Deskewer.measurePageArgb(null, WIDTH, HEIGHT));
    assertThrows(NullPointerException.class, () -> Deskewer.levelRgb(rgb, WIDTH, HEIGHT, options, null));
    assertThrows(NullPointerException.class, () -> Deskewer.levelRgb(rgb, WIDTH, HEIGHT, null));
    assertArrayEquals(new int[result.length], result);
    assertArrayEquals(Pages.gray(argb), gray);
  }

  @Test
  void callsFromManyThreadsEachGetTheirOwnAngle() throws Exception {
    double[] degrees = {-20, -5, 3, 15};
    ExecutorService threads = Executors.newFixedThreadPool(degrees.length);
    List<Future<Double>> angles = new ArrayList<>();
    for (int i = 0; i < 60; ++i) {
      int[] page = Pages.argb(400, 400, degrees[i % degrees.length]);
      Callable<Double> call =
          i % 2 == 0
              ? () -> Preview.measureArgb(page, 400, 400)
              : () -> Deskewer.planRgb(Pages.rgb(page), 400, 400, LevelOptions.DEFAULTS).tilt();
      angles.add(threads.submit(call));
    }
    for (int i = 0; i < angles.size(); ++i) {
      assertEquals(degrees[i % degrees.length], angles.get(i).get(), 0.6);
    }
    threads.shutdown();
  }

  @Test
  void thePreviewAnswersInStepsForEveryLayout() {
    double angle = Preview.measureGray(gray, WIDTH, HEIGHT);
    assertEquals(DEGREES, angle, 0.3);
    assertEquals(Math.rint(angle * 5) / 5, angle, 1e-9);
    assertEquals(angle, Preview.measureArgb(argb, WIDTH, HEIGHT));
    assertEquals(angle, Preview.measureRgb(rgb, WIDTH, HEIGHT));
    assertEquals(angle, Preview.measureGray(plane(), WIDTH, HEIGHT, ROW, GAP));
  }

  @Test
  void optionsNeverChange() {
    LevelOptions other = LevelOptions.DEFAULTS.force(true);
    assertNotSame(LevelOptions.DEFAULTS, other);
    assertNotEquals(LevelOptions.DEFAULTS, other);
    assertEquals(LevelOptions.DEFAULTS, other.force(false));
    assertEquals(LevelOptions.DEFAULTS.hashCode(), other.force(false).hashCode());
    assertEquals(
        "level AUTO of 0.05 to 45.0 degrees, trusted or not, canvas KEEP, fill #80123456",
        other.fill(0x80123456).align(LevelOptions.Align.AUTO).toString());
  }
}
