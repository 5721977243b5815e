package kelvo.test;

/** Has what nobody refers to collected. */
public final class Collector {
    private Collector() {}

    public static void collect() throws InterruptedException {
        System.gc();
        Thread.sleep(10); // the cleaner works on a thread of its own
    }
}
