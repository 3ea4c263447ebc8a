package com.narvo.android.lumetrix.imageprocessing;

/** What becomes of the size of an image that is turned. */
public enum Canvas {
  /** The size stays; corners are cut off. */
  KEEP,
  /** The image becomes as large as needed to show the whole original. */
  EXPAND
}
