package com.narvo.android.lumetrix.imageprocessing;

/** What the library has obtained from the Java machine, as counted by the agent the tests run under. */
final class Ledger {
  private Ledger() {}

  /** Arrays and strings obtained since the start. */
  static native long acquired();

  /** Those of them that were not released. */
  static native long held();
}
