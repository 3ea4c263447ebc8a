package com.narvo.android.lumetrix.imageprocessing;

/** Loads the native library from the first place that has it, once for each class loader. */
final class NativeLibrary {
  /** Names the library file itself; nothing else is tried then. */
  static final String FILE_PROPERTY = "skewcorrection.library.file";

  private static final String NAME = "SkewCorrection_Lib";

  private static boolean loaded;

  private NativeLibrary() {}

  static synchronized void load() {
    if (!loaded) {
      String file = System.getProperty(FILE_PROPERTY);
      if (file != null) {
        loadFile(file);
      } else {
        loadInstalledOrPacked();
      }
      loaded = true;
    }
  }

  private static void loadFile(String file) {
    try {
      System.load(file);
    } catch (UnsatisfiedLinkError error) {
      throw failure("property " + FILE_PROPERTY + " = " + file + ": " + error.getMessage(), error);
    }
  }

  private static void loadInstalledOrPacked() {
    String installed;
    try {
      System.loadLibrary(NAME);
      return;
    } catch (UnsatisfiedLinkError error) {
      installed = error.getMessage();
    }
    try {
      PackedLibrary.load(System.mapLibraryName(NAME));
    } catch (UnsatisfiedLinkError error) {
      throw failure(
          "property " + FILE_PROPERTY + ": not set; System.loadLibrary(\"" + NAME + "\"): " + installed + "; "
              + error.getMessage(),
          error);
    }
  }

  private static UnsatisfiedLinkError failure(String tried, Throwable cause) {
    UnsatisfiedLinkError error =
        new UnsatisfiedLinkError(
            "Cannot load the native library on " + System.getProperty("os.name") + " "
                + System.getProperty("os.arch") + ". Tried: " + tried);
    error.initCause(cause);
    return error;
  }
}
