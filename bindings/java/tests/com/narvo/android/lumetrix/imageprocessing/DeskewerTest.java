package com.narvo.android.lumetrix.imageprocessing;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.narvo.android.lumetrix.imageprocessing.desktop.ImageDeskewer;
import java.awt.image.BufferedImage;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** The classes that wrap the native methods. */
class DeskewerTest {
  private static final int WIDTH = 643, HEIGHT = 480;

  private final int[] argb = Pages.argb(WIDTH, HEIGHT, 7);
  private final byte[] rgb = Pages.rgb(argb), gray = Pages.gray(argb);

  @Test
  void everyLayoutIsMeasuredAlikeAndComesOutLevel() {
    double angle = Deskewer.measureGray(gray, WIDTH, HEIGHT);
    assertEquals(7.0, angle, 0.5);
    assertEquals(angle, Deskewer.measureArgb(argb, WIDTH, HEIGHT));
    assertEquals(angle, Deskewer.measureRgb(rgb, WIDTH, HEIGHT));

    Deskewed<int[]> argbLevel = Deskewer.deskewArgb(argb, WIDTH, HEIGHT);
    Deskewed<byte[]> rgbLevel = Deskewer.deskewRgb(rgb, WIDTH, HEIGHT);
    Deskewed<byte[]> grayLevel = Deskewer.deskewGray(gray, WIDTH, HEIGHT);
    assertEquals(angle, argbLevel.angle());
    assertEquals(angle, rgbLevel.angle());
    assertEquals(angle, grayLevel.angle());
    assertEquals(0.0, Deskewer.measureArgb(argbLevel.image(), WIDTH, HEIGHT), 0.21);
    assertEquals(0.0, Deskewer.measureRgb(rgbLevel.image(), WIDTH, HEIGHT), 0.21);
    assertEquals(0.0, Deskewer.measureGray(grayLevel.image(), WIDTH, HEIGHT), 0.21);
    assertEquals(-1, grayLevel.image()[0], "uncovered gray corners are white");

    int[] longer = new int[argb.length + 3];
    assertEquals(angle, Deskewer.deskewArgb(argb, longer, WIDTH, HEIGHT));
    assertArrayEquals(argbLevel.image(), java.util.Arrays.copyOf(longer, argb.length));
  }

  @Test
  void aWholePageIsMeasuredFinelyAndWithAVerdict() {
    int width = 1001, height = 1100;
    int[] page = Pages.argb(width, height, -3.37);
    PageAngle found = Deskewer.measurePageArgb(page, width, height);
    assertEquals(-3.37, found.angle(), 0.1);
    assertEquals(PageAngle.Verdict.TRUSTED, found.verdict());
    assertTrue(found.windowsAgreeing() > 1 && found.windowsAgreeing() <= found.windowsMeasured());
    assertTrue(found.spread() >= 0 && found.spread() < 1);
    assertEquals(found.angle(), Deskewer.measurePageRgb(Pages.rgb(page), width, height).angle());

    PageAngle nothing = Deskewer.measurePageGray(new byte[width * height], width, height);
    assertEquals(PageAngle.Verdict.BLANK, nothing.verdict());
    assertEquals(0.0, nothing.angle());
    assertEquals(0, Ledger.held());
  }

  @Test
  void badCallsAreRefusedWithAReason() {
    List<Executable> calls = new ArrayList<>();
    calls.add(() -> Deskewer.measureArgb(argb, 31, HEIGHT));
    calls.add(() -> Deskewer.measureGray(gray, WIDTH, -HEIGHT));
    calls.add(() -> Deskewer.measureArgb(argb, WIDTH + 1, HEIGHT));
    calls.add(() -> Deskewer.measureArgb(argb, 65536, 65536));
    calls.add(() -> Deskewer.measureRgb(gray, WIDTH, HEIGHT));
    calls.add(() -> Deskewer.measurePageGray(gray, WIDTH, HEIGHT + 1));
    calls.add(() -> Deskewer.deskewRgb(rgb, 43691, 32768));
    calls.add(() -> Deskewer.deskewArgb(argb, new int[argb.length - 1], WIDTH, HEIGHT));
    calls.add(() -> Deskewer.deskewGray(gray, gray, WIDTH, HEIGHT));
    for (Executable call : calls) {
      assertTrue(assertThrows(IllegalArgumentException.class, call).getMessage().length() > 20);
    }
    assertThrows(NullPointerException.class, () -> Deskewer.measureArgb(null, WIDTH, HEIGHT));
    assertThrows(NullPointerException.class, () -> Deskewer.deskewRgb(rgb, null, WIDTH, HEIGHT));
  }

  @Test
  void callsFromManyThreadsEachGetTheirOwnAngle() throws Exception {
    double[] degrees = {-20, -5, 3, 15};
    ExecutorService threads = Executors.newFixedThreadPool(degrees.length);
    List<Future<Double>> angles = new ArrayList<>();
    for (int i = 0; i < 60; ++i) {
      int[] page = Pages.argb(200, 200, degrees[i % degrees.length]);
      Callable<Double> call =
          i % 2 == 0
              ? () -> Deskewer.measureArgb(page, 200, 200)
              : () -> Deskewer.deskewRgb(Pages.rgb(page), 200, 200).angle();
      angles.add(threads.submit(call));
    }
    for (int i = 0; i < angles.size(); ++i) {
      assertEquals(degrees[i % degrees.length], angles.get(i).get(), 0.6);
    }
    threads.shutdown();
  }

  @Test
  void imagesOfEveryTypeAreLevelled() {
    double expected = Deskewer.measureArgb(argb, WIDTH, HEIGHT);
    for (int type = BufferedImage.TYPE_INT_RGB; type <= BufferedImage.TYPE_BYTE_INDEXED; ++type) {
      BufferedImage image = new BufferedImage(WIDTH, HEIGHT, type);
      image.setRGB(0, 0, WIDTH, HEIGHT, argb, 0, WIDTH);
      Deskewed<BufferedImage> level = ImageDeskewer.deskew(image);
      assertEquals(expected, level.angle(), 0.21, "type " + type);
      assertEquals(level.angle(), ImageDeskewer.measure(image), "type " + type);
      assertEquals(image.getColorModel().hasAlpha(), level.image().getColorModel().hasAlpha());
      assertEquals(0.0, ImageDeskewer.measure(level.image()), 0.21, "type " + type);
      assertEquals(-1, level.image().getRGB(0, 0), "uncovered corners are white, type " + type);
    }
  }

  @Test
  void graySamplesAreTakenAsTheyAre() {
    BufferedImage deep = new BufferedImage(2, 1, BufferedImage.TYPE_USHORT_GRAY);
    deep.getRaster().setSample(0, 0, 0, 0x80FF);
    deep.getRaster().setSample(1, 0, 0, 0xFFFF);
    assertArrayEquals(new int[] {0xFF808080, 0xFFFFFFFF}, ImageDeskewer.argbPixels(deep));
    BufferedImage part = new BufferedImage(50, 40, BufferedImage.TYPE_INT_ARGB);
    part.setRGB(7, 5, 0x80123456);
    assertEquals(0x80123456, ImageDeskewer.argbPixels(part.getSubimage(7, 5, 3, 2))[0]);
  }
}
