package com.narvo.android.lumetrix.imageprocessing;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.Locale;

/**
 * Loads the library file that is packed in the jar. A class of its own, because older Android systems lack
 * java.nio.file; they never come here.
 */
final class PackedLibrary {
  /** Names a folder for the unpacked file, for systems that do not run code from the usual temporary folder. */
  static final String FOLDER_PROPERTY = "skewcorrection.tmpdir";

  /** The names that Java machines have for a processor, after the one that the jar has for it. */
  private static final String[][] PROCESSORS = {
    {"x86_64", "amd64", "x86_64", "x86-64", "x64"},
    {"aarch64", "aarch64", "arm64"},
    {"armhf", "arm", "arm32", "armv7l", "armhf"},
    {"riscv64", "riscv64"}
  };

  private PackedLibrary() {}

  /** The folder for a system and a processor, as Java names them; for unknown ones a folder that no jar has. */
  static String folder(String system, String processor) {
    String name = processor.toLowerCase(Locale.ROOT);
    for (String[] names : PROCESSORS) {
      if (Arrays.asList(names).contains(name)) {
        name = names[0];
        break;
      }
    }
    return system.toLowerCase(Locale.ROOT).replace(' ', '-') + "-" + name;
  }

  /**
   * Unpacks the file into a fresh folder, so that each class loader has its own, loads it and removes it again.
   */
  static void load(String fileName) {
    String resource =
        "META-INF/native/" + folder(System.getProperty("os.name"), System.getProperty("os.arch")) + "/" + fileName;
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
