package com.narvo.android.lumetrix.imageprocessing.desktop;

import com.narvo.android.lumetrix.imageprocessing.LevelOptions;
import com.narvo.android.lumetrix.imageprocessing.Levelled;
import java.awt.image.BufferedImage;
import java.io.File;
import java.io.IOException;
import java.io.OutputStream;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.nio.file.StandardCopyOption;
import java.util.Iterator;
import java.util.Locale;
import javax.imageio.IIOImage;
import javax.imageio.ImageIO;
import javax.imageio.ImageReader;
import javax.imageio.ImageTypeSpecifier;
import javax.imageio.ImageWriter;
import javax.imageio.metadata.IIOMetadata;
import javax.imageio.metadata.IIOMetadataFormatImpl;
import javax.imageio.metadata.IIOMetadataNode;
import javax.imageio.stream.ImageInputStream;
import javax.imageio.stream.ImageOutputStream;
import javax.imageio.stream.MemoryCacheImageOutputStream;
import org.w3c.dom.NodeList;

/** A program that levels one image file and writes the result as PNG, of the same depth and resolution. */
public final class DeskewFile {
  private long across; // pixels per metre, 0 if not known
  private long down;
  private BufferedImage page;

  private DeskewFile() {}

  /**
   * Levels an image file. A page whose angle is not trusted is written as it is, unless --force is given.
   *
   * <p>The input may be of any format that ImageIO reads, of which the first image is taken; its EXIF orientation is
   * not applied. One line on standard output says what was found and done. Exit codes: 0 success, 1 a file cannot be
   * read or written, 2 wrong arguments.
   *
   * @param arguments [--force], the input file and the output file
   */
  public static void main(String[] arguments) {
    int files = arguments.length > 0 && arguments[0].equals("--force") ? 1 : 0;
    if (arguments.length != files + 2) {
      System.err.println("usage: java -jar skewcorrection.jar [--force] IN OUT.png");
      System.exit(2);
    }
    try {
      DeskewFile file = new DeskewFile();
      file.read(new File(arguments[files]));
      Levelled<BufferedImage> level =
          ImageDeskewer.level(file.page, LevelOptions.DEFAULTS.force(files == 1));
      file.write(level.image(), new File(arguments[files + 1]));
      System.out.println(report(level));
    } catch (IOException error) {
      System.err.println(error instanceof FileSystemException ? "cannot be written: " + error : error.getMessage());
      System.exit(1);
    }
  }

  private static String report(Levelled<?> level) {
    String angle = String.format(Locale.ROOT, "%.2f", level.tilt()).replaceFirst("^-(0\\.00)$", "$1");
    return "angle: " + angle + " degrees, " + words(level.page().verdict()) + ": " + words(level.action());
  }

  private static String words(Enum<?> constant) {
    String text = constant.name().toLowerCase(Locale.ROOT).replace('_', ' ');
    return text.startsWith("left ") ? "left alone (" + text.substring(5) + ")" : text;
  }

  private void read(File in) throws IOException {
    try (ImageInputStream stream = in.canRead() ? ImageIO.createImageInputStream(in) : null) {
      Iterator<ImageReader> readers = stream == null ? null : ImageIO.getImageReaders(stream);
      if (readers == null || !readers.hasNext()) {
        throw new IOException(in + ": not a readable image");
      }
      ImageReader reader = readers.next();
      reader.setInput(stream);
      page = reader.read(0);
      IIOMetadata metadata = reader.getImageMetadata(0);
      if (metadata != null && metadata.isStandardMetadataFormatSupported()) {
        IIOMetadataNode tree =
            (IIOMetadataNode) metadata.getAsTree(IIOMetadataFormatImpl.standardMetadataFormatName);
        across = resolution(tree, "Horizontal");
        down = resolution(tree, "Vertical");
      }
      reader.dispose();
    } catch (RuntimeException error) { // readers throw them for broken files
      throw new IOException(in + ": not a readable image (" + error + ")", error);
    }
  }

  /** Pixels per metre in one direction, rounded; 0 if the file does not tell. */
  private static long resolution(IIOMetadataNode tree, String direction) {
    for (String name : new String[] {"PixelSize", "PhysicalPixelSpacing"}) { // millimetres
      NodeList found = tree.getElementsByTagName(direction + name);
      if (found.getLength() > 0) {
        double size = Double.parseDouble(((IIOMetadataNode) found.item(0)).getAttribute("value"));
        return size > 0 ? Math.round(1000 / size) : 0;
      }
    }
    return 0;
  }

  // Through PNG's own tree: the standard one is not merged the same way by every Java release.
  private void addResolution(IIOMetadata metadata) throws IOException {
    if (across <= 0 || down <= 0 || across > Integer.MAX_VALUE || down > Integer.MAX_VALUE) {
      return;
    }
    IIOMetadataNode size = new IIOMetadataNode("pHYs");
    size.setAttribute("pixelsPerUnitXAxis", Long.toString(across));
    size.setAttribute("pixelsPerUnitYAxis", Long.toString(down));
    size.setAttribute("unitSpecifier", "meter");
    IIOMetadataNode root = new IIOMetadataNode(metadata.getNativeMetadataFormatName());
    root.appendChild(size);
    metadata.mergeTree(metadata.getNativeMetadataFormatName(), root);
  }

  private void write(BufferedImage image, File out) throws IOException {
    ImageWriter writer = ImageIO.getImageWritersByFormatName("png").next();
    ImageTypeSpecifier type = new ImageTypeSpecifier(image);
    if (!writer.getOriginatingProvider().canEncodeImage(type)) {
      throw new IOException(out + ": PNG does not hold images of this type (" + image.getColorModel() + ")");
    }
    IIOMetadata metadata = writer.getDefaultImageMetadata(type, null);
    addResolution(metadata);
    Path part = Paths.get(out + ".part"); // takes the place of an older file when it is complete
    try {
      try (OutputStream bytes = Files.newOutputStream(part);
          ImageOutputStream stream = new MemoryCacheImageOutputStream(bytes)) {
        writer.setOutput(stream);
        writer.write(null, new IIOImage(image, null, metadata), null);
      }
      Files.move(part, out.toPath(), StandardCopyOption.REPLACE_EXISTING);
    } finally {
      writer.dispose();
      Files.deleteIfExists(part);
    }
  }
}
