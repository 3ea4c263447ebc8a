package com.narvo.android.lumetrix.imageprocessing;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Locale;

/**
 * Loads the library file that is packed in the jar. A class of its own, because older Android systems lack
 * java.nio.file; they never come here.
 */
final class PackedLibrary {
  /** Names a folder for the unpacked file, for systems that do not run code from the usual temporary folder. */
  static final String FOLDER_PROPERTY = "skewcorrection.tmpdir";

  private PackedLibrary() {}

  /**
   * Unpacks the file into a fresh folder, so that each class loader has its own, loads it and removes it again.
   */
  static void load(String fileName) {
    String system = System.getProperty("os.name").toLowerCase(Locale.ROOT).replace(' ', '-');
    String resource = "META-INF/native/" + system + "-" + System.getProperty("os.arch") + "/" + fileName;
    String base = System.getProperty(FOLDER_PROPERTY, System.getProperty("java.io.tmpdir"));
    try (InputStream packed = PackedLibrary.class.getResourceAsStream("/" + resource)) {
      if (packed == null) {
        throw new IOException("not in the jar");
      }
      unpackAndLoad(packed, fileName, Paths.get(base));
    } catch (IOException | RuntimeException | UnsatisfiedLinkError error) {
      UnsatisfiedLinkError failure =
          new UnsatisfiedLinkError(
              "resource " + resource + ", unpacked in " + base + " (property " + FOLDER_PROPERTY
                  + " names another folder): " + error);
      failure.initCause(error);
      throw failure;
    }
  }

  private static void unpackAndLoad(InputStream packed, String fileName, Path base) throws IOException {
    Path folder = Files.createTempDirectory(base, "skewcorrection-");
    Path file = folder.resolve(fileName);
    try {
      Files.copy(packed, file);
      System.load(file.toAbsolutePath().toString());
    } finally {
      Files.deleteIfExists(file);
      Files.delete(folder);
    }
  }
}
