package com.narvo.android.lumetrix.imageprocessing;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.awt.image.BufferedImage;
import java.io.BufferedReader;
import java.io.File;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Collectors;
import javax.imageio.IIOImage;
import javax.imageio.ImageIO;
import javax.imageio.ImageReader;
import javax.imageio.ImageTypeSpecifier;
import javax.imageio.ImageWriter;
import javax.imageio.metadata.IIOMetadata;
import javax.imageio.metadata.IIOMetadataNode;
import javax.imageio.stream.ImageInputStream;
import javax.imageio.stream.ImageOutputStream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Loading the library, in Java machines of their own, and the program that levels a file. */
class NativeLibraryTest {
  private static final String PNG = "javax_imageio_png_1.0";
  private static final String PROGRAM = "com.narvo.android.lumetrix.imageprocessing.desktop.DeskewFile";

  @TempDir Path folder;

  private String output;

  /** Runs the program on a page drawn for it; returns the exit code. */
  private int run(String classPath, String... properties) throws IOException, InterruptedException {
    File in = folder.resolve("in.png").toFile(), out = folder.resolve("out.png").toFile();
    BufferedImage page = new BufferedImage(601, 500, BufferedImage.TYPE_INT_RGB);
    page.setRGB(0, 0, 601, 500, Pages.argb(601, 500, 7), 0, 601);
    write(page, in);
    Files.deleteIfExists(out.toPath());
    List<String> command = new ArrayList<>();
    command.add(System.getProperty("java.home") + "/bin/java");
    command.add("-Djava.library.path=" + folder);
    command.addAll(Arrays.asList(properties));
    command.addAll(Arrays.asList("-cp", classPath, PROGRAM, in.toString(), out.toString()));
    Process process = new ProcessBuilder(command).redirectErrorStream(true).start();
    try (BufferedReader reader = new BufferedReader(new InputStreamReader(process.getInputStream()))) {
      output = reader.lines().collect(Collectors.joining("\n"));
    }
    int code = process.waitFor();
    assertEquals(code == 0, Files.exists(out.toPath()), output);
    return code;
  }

  /** Writes a page of 300 dots per inch. */
  private static void write(BufferedImage page, File file) throws IOException {
    ImageWriter writer = ImageIO.getImageWritersByFormatName("png").next();
    IIOMetadata metadata = writer.getDefaultImageMetadata(new ImageTypeSpecifier(page), null);
    IIOMetadataNode root = new IIOMetadataNode(PNG), size = new IIOMetadataNode("pHYs");
    size.setAttribute("pixelsPerUnitXAxis", "11811");
    size.setAttribute("pixelsPerUnitYAxis", "11811");
    size.setAttribute("unitSpecifier", "meter");
    root.appendChild(size);
    metadata.mergeTree(PNG, root);
    try (ImageOutputStream stream = ImageIO.createImageOutputStream(file)) {
      writer.setOutput(stream);
      writer.write(null, new IIOImage(page, null, metadata), null);
    }
  }

  private void assertResolutionKept(File file) throws IOException {
    ImageReader reader = ImageIO.getImageReadersByFormatName("png").next();
    try (ImageInputStream stream = ImageIO.createImageInputStream(file)) {
      reader.setInput(stream);
      IIOMetadataNode tree = (IIOMetadataNode) reader.getImageMetadata(0).getAsTree(PNG);
      IIOMetadataNode size = (IIOMetadataNode) tree.getElementsByTagName("pHYs").item(0);
      assertEquals("11811", size.getAttribute("pixelsPerUnitYAxis"));
    }
  }

  private void assertAngleFound(int code) throws IOException {
    assertEquals(0, code, output);
    assertResolutionKept(folder.resolve("out.png").toFile());
    assertTrue(output.matches("angle: (6\\.9|7\\.0)[0-9] degrees, trusted: levelled"), output);
  }

  private static String jar() {
    return System.getProperty("skewcorrection.test.jar");
  }

  private static String library() {
    return System.getProperty("skewcorrection.library.file");
  }

  private static String ownFolder() {
    return PackedLibrary.folder(System.getProperty("os.name"), System.getProperty("os.arch"));
  }

  @Test
  void everyNameOfAProcessorLeadsToItsFolder() {
    String[][] cases = {
      {"Linux", "amd64", "linux-x86_64"}, {"Linux", "x86_64", "linux-x86_64"},
      {"Linux", "aarch64", "linux-aarch64"}, {"Linux", "arm64", "linux-aarch64"},
      {"Linux", "arm", "linux-armhf"}, {"Linux", "armv7l", "linux-armhf"},
      {"Linux", "riscv64", "linux-riscv64"}, {"Linux", "AMD64", "linux-x86_64"},
      {"Linux", "s390x", "linux-s390x"}, {"Mac OS X", "aarch64", "mac-os-x-aarch64"}
    };
    for (String[] c : cases) {
      assertEquals(c[2], PackedLibrary.folder(c[0], c[1]));
    }
  }

  @Test
  void theFileInTheJarIsUnpackedIntoTheNamedFolderAndRemoved() throws Exception {
    Path own = Files.createDirectory(folder.resolve("own"));
    assertAngleFound(run(jar(), "-Dskewcorrection.tmpdir=" + own, "-Djava.io.tmpdir=/nowhere"));
    assertEquals(0, own.toFile().list().length);
  }

  @Test
  void anInstalledLibraryIsFoundFirst() throws Exception {
    Files.copy(new File(library()).toPath(), folder.resolve("libSkewCorrection_Lib.so"));
    assertAngleFound(run(jar(), "-Djava.io.tmpdir=/nowhere"));
  }

  @Test
  void thePropertyNamesTheFileAndNothingElseIsTried() throws Exception {
    assertAngleFound(run(jar(), "-Dskewcorrection.library.file=" + library(), "-Djava.io.tmpdir=/nowhere"));
    assertNotEquals(0, run(jar(), "-Dskewcorrection.library.file=/nowhere/lib.so"));
    assertTrue(output.contains("property skewcorrection.library.file = /nowhere/lib.so"), output);
    assertFalse(output.contains("System.loadLibrary("), output);
  }

  @Test
  void aFailureSaysAllThatWasTried() throws Exception {
    assertNotEquals(0, run(jar(), "-Djava.io.tmpdir=/nowhere"));
    for (String part :
        new String[] {
          "skewcorrection.library.file: not set", "System.loadLibrary(\"SkewCorrection_Lib\")",
          "META-INF/native/" + ownFolder() + "/libSkewCorrection_Lib.so",
          "skewcorrection.tmpdir", "/nowhere"
        }) {
      assertTrue(output.contains(part), part + " is missing in: " + output);
    }
    assertNotEquals(0, run(System.getProperty("skewcorrection.test.classes")));
    assertTrue(output.contains("not in the jar"), output);
  }
}
