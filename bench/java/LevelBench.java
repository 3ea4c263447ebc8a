import com.narvo.android.lumetrix.imageprocessing.Canvas;
import com.narvo.android.lumetrix.imageprocessing.Deskewer;
import com.narvo.android.lumetrix.imageprocessing.ImgSkewCorrectionLib;
import com.narvo.android.lumetrix.imageprocessing.LevelOptions;
import com.narvo.android.lumetrix.imageprocessing.Preview;
import com.narvo.android.lumetrix.imageprocessing.Turn;
import java.io.IOException;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadInfo;
import java.lang.management.ThreadMXBean;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.concurrent.Callable;
import java.util.concurrent.atomic.AtomicLong;

/**
 * Times the Java methods on the page that skew_bench_level wrote: raw ARGB integers, the low byte first. Medians of 15
 * rounds after 5 that do not count.
 */
public final class LevelBench {
  private static final int WIDTH = 4000, HEIGHT = 3000, THREADS = 8, PAGES_EACH = 6;

  private LevelBench() {}

  public static void main(String[] arguments) throws Exception {
    int[] page = read(arguments[0]), result = new int[page.length];
    byte[] gray = new byte[page.length], grayResult = new byte[page.length];
    for (int i = 0; i < page.length; ++i) {
      gray[i] = (byte) page[i];
    }
    LevelOptions options = LevelOptions.DEFAULTS;
    Turn turn = Turn.of(WIDTH, HEIGHT, 3.4, Canvas.KEEP);
    print("levelArgb, given array", () -> Deskewer.levelArgb(page, WIDTH, HEIGHT, options, result));
    print("levelArgb, new array", () -> Deskewer.levelArgb(page, WIDTH, HEIGHT));
    print("levelGray, given array", () -> Deskewer.levelGray(gray, WIDTH, HEIGHT, options, grayResult));
    print("measurePageArgb", () -> Deskewer.measurePageArgb(page, WIDTH, HEIGHT));
    print("rotateArgb, given array", () -> { Deskewer.rotateArgb(page, turn, -1, result); return null; });
    print("Preview.measureGray", () -> Preview.measureGray(gray, WIDTH, HEIGHT));
    print(
        "ImgSkewCorrect_ImageLoadingMode",
        () -> ImgSkewCorrectionLib.ImgSkewCorrect_ImageLoadingMode(page, result, WIDTH, HEIGHT));
    printThreads(page);
  }

  private static int[] read(String file) throws IOException {
    int[] page = new int[WIDTH * HEIGHT];
    ByteBuffer.wrap(Files.readAllBytes(Paths.get(file))).order(ByteOrder.LITTLE_ENDIAN).asIntBuffer().get(page);
    return page;
  }

  private static void print(String what, Callable<?> call) throws Exception {
    double[] times = new double[15];
    for (int i = -5; i < times.length; ++i) {
      long start = System.nanoTime();
      call.call();
      if (i >= 0) {
        times[i] = (System.nanoTime() - start) / 1e6;
      }
    }
    Arrays.sort(times);
    System.out.printf("%-36s %7.1f ms%n", what, times[times.length / 2]);
  }

  /** Pages on several threads at once: how long each waited for another one inside the Java machine. */
  private static void printThreads(int[] page) throws InterruptedException {
    ThreadMXBean machine = ManagementFactory.getThreadMXBean();
    machine.setThreadContentionMonitoringEnabled(true);
    AtomicLong waited = new AtomicLong(), ran = new AtomicLong();
    Thread[] threads = new Thread[THREADS];
    for (int k = 0; k < THREADS; ++k) {
      threads[k] =
          new Thread(
              () -> {
                int[] result = new int[page.length];
                long start = System.nanoTime();
                for (int i = 0; i < PAGES_EACH; ++i) {
                  Deskewer.levelArgb(page, WIDTH, HEIGHT, LevelOptions.DEFAULTS, result);
                }
                ThreadInfo info = machine.getThreadInfo(Thread.currentThread().getId());
                waited.addAndGet(info.getBlockedTime() + info.getWaitedTime());
                ran.addAndGet((System.nanoTime() - start) / 1000000);
              });
      threads[k].start();
    }
    for (Thread thread : threads) {
      thread.join();
    }
    System.out.printf("%d threads, a page each: blocked %d of %d ms%n", THREADS, waited.get(), ran.get());
  }
}
