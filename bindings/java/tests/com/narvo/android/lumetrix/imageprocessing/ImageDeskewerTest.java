package com.narvo.android.lumetrix.imageprocessing;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.narvo.android.lumetrix.imageprocessing.desktop.ImageDeskewer;
import java.awt.color.ColorSpace;
import java.awt.image.BufferedImage;
import java.awt.image.ColorModel;
import java.awt.image.ComponentColorModel;
import java.awt.image.ComponentSampleModel;
import java.awt.image.DataBuffer;
import java.awt.image.DataBufferFloat;
import java.awt.image.DataBufferUShort;
import java.awt.image.Raster;
import java.util.LinkedHashMap;
import java.util.Map;
import org.junit.jupiter.api.Test;

/** Levelling Java's own images, of every type. */
class ImageDeskewerTest {
  private static final int WIDTH = 440, HEIGHT = 360;

  /** An image of channels deeper than a byte, drawn from the page's gray. */
  private static BufferedImage deep(int type, int bands, boolean alpha, int[] argb) {
    ColorSpace space =
        ColorSpace.getInstance(bands > 2 ? ColorSpace.CS_sRGB : ColorSpace.CS_GRAY);
    ColorModel colours = new ComponentColorModel(space, alpha, false, alpha ? 3 : 1, type);
    int[] offsets = {0, 1, 2, 3};
    ComponentSampleModel samples =
        new ComponentSampleModel(
            type, WIDTH, HEIGHT, bands, bands * WIDTH, java.util.Arrays.copyOf(offsets, bands));
    DataBuffer buffer =
        type == DataBuffer.TYPE_FLOAT
            ? new DataBufferFloat(bands * WIDTH * HEIGHT)
            : new DataBufferUShort(bands * WIDTH * HEIGHT);
    for (int i = 0; i < bands * WIDTH * HEIGHT; ++i) {
      int value = alpha && i % bands == bands - 1 ? 255 : argb[i / bands] >> 8 & 255;
      if (type == DataBuffer.TYPE_FLOAT) {
        buffer.setElemFloat(i, value / 255f);
      } else {
        buffer.setElem(i, value * 257);
      }
    }
    return new BufferedImage(colours, Raster.createWritableRaster(samples, buffer, null), false, null);
  }

  private static Map<String, BufferedImage> images(int[] argb) {
    Map<String, BufferedImage> images = new LinkedHashMap<>();
    for (int type = BufferedImage.TYPE_INT_RGB; type <= BufferedImage.TYPE_BYTE_INDEXED; ++type) {
      BufferedImage image = new BufferedImage(WIDTH, HEIGHT, type);
      image.setRGB(0, 0, WIDTH, HEIGHT, argb, 0, WIDTH);
      images.put("type " + type, image);
    }
    images.put("float gray", deep(DataBuffer.TYPE_FLOAT, 1, false, argb));
    images.put("float RGB", deep(DataBuffer.TYPE_FLOAT, 3, false, argb));
    images.put("16-bit gray with alpha", deep(DataBuffer.TYPE_USHORT, 2, true, argb));
    images.put("16-bit RGB with alpha", deep(DataBuffer.TYPE_USHORT, 4, true, argb));
    BufferedImage whole = new BufferedImage(WIDTH + 9, HEIGHT + 7, BufferedImage.TYPE_3BYTE_BGR);
    whole.setRGB(5, 3, WIDTH, HEIGHT, argb, 0, WIDTH);
    images.put("part of an image", whole.getSubimage(5, 3, WIDTH, HEIGHT));
    return images;
  }

  @Test
  void everyTypeIsLevelledAndKept() {
    int[] argb = Pages.argb(WIDTH, HEIGHT, 4.2);
    LevelOptions white = LevelOptions.DEFAULTS.canvas(Canvas.EXPAND).fill(-1);
    images(argb)
        .forEach(
            (what, image) -> {
              Levelled<BufferedImage> level = ImageDeskewer.level(image, white);
              BufferedImage result = level.image();
              assertEquals(4.2, level.angle(), 0.1, what);
              assertEquals(image.getType(), result.getType(), what);
              assertEquals(image.getColorModel(), result.getColorModel(), what);
              assertEquals(level.turn().resultWidth(), result.getWidth(), what);
              assertEquals(-1, result.getRGB(0, 0), "white corners, " + what);
              PageAngle again = ImageDeskewer.measure(result);
              assertTrue(again.isTrusted(), what + ": " + again);
              assertEquals(0.0, again.angle(), 0.08, what);
            });
  }

  @Test
  void deepSamplesKeepTheirDepthAndPlaces() {
    BufferedImage image = new BufferedImage(40, 30, BufferedImage.TYPE_USHORT_GRAY);
    image.getRaster().setSample(5, 20, 0, 0x1234);
    Turn quarter = Turn.of(40, 30, 90, Canvas.EXPAND);
    BufferedImage turned = ImageDeskewer.rotate(image, quarter, 0xFF808080);
    assertEquals(0x1234, turned.getRaster().getSample(20, 34, 0));
    assertEquals(0, turned.getRaster().getSample(21, 34, 0));
    BufferedImage corner = ImageDeskewer.rotate(image, Turn.of(40, 30, 10, Canvas.EXPAND), 0xFF808080);
    assertEquals(0x8080, corner.getRaster().getSample(0, 0, 0), "the fill colour, 16 bits of it");
    assertThrows(
        IllegalArgumentException.class, () -> ImageDeskewer.rotate(image, Turn.of(30, 40, 1, Canvas.KEEP), 0));
  }

  @Test
  void aPageThatIsNotTrustedIsLeftAlone() {
    BufferedImage blank = new BufferedImage(300, 200, BufferedImage.TYPE_BYTE_BINARY);
    Levelled<BufferedImage> level = ImageDeskewer.level(blank);
    assertSame(blank, level.image());
    assertEquals(Levelled.Action.LEFT_BLANK, level.action());
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
