package kelvo.test;

import android.graphics.Bitmap;

/**
 * A thread that paints pictures into bitmaps in turn: the n-th has the colour 0xFF000000 + n * STEP all over,
 * painted in pieces. Whoever shows them takes each before the next one is begun.
 */
public final class Producer extends Thread {
    /** Between the colours of two pictures. */
    public static final int STEP = 0x050301;

    private final Bitmap[] bitmaps;
    private final int count;
    private int painted;
    private int taken;
    private Throwable fault;

    /** {@code first} is the bitmap to begin with, of those in {@code bitmaps}. */
    public Producer(Bitmap[] bitmaps, int first, int count) {
        super("producer");
        this.bitmaps = new Bitmap[bitmaps.length];
        for (int i = 0; i < bitmaps.length; ++i) {
            this.bitmaps[i] = bitmaps[(first + i) % bitmaps.length];
        }
        this.count = count;
    }

    @Override
    public void run() {
        try {
            for (int n = 1; n <= count; ++n) {
                paint(bitmaps[(n - 1) % bitmaps.length], 0xFF000000 + n * STEP);
                synchronized (this) {
                    painted = n;
                    while (taken < n) {
                        wait();
                    }
                }
            }
        } catch (InterruptedException | RuntimeException thrown) {
            synchronized (this) {
                fault = thrown;
            }
        }
    }

    private static void paint(Bitmap bitmap, int colour) {
        bitmap.eraseColor(0xFF000000); // half-done pictures are told by it
        int width = bitmap.getWidth();
        int[] row = new int[width];
        java.util.Arrays.fill(row, colour);
        for (int y = 0; y < bitmap.getHeight(); ++y) {
            bitmap.setPixels(row, 0, width, 0, y, width, 1);
        }
    }

    /** The number of the picture that waits to be shown; 0 while there is none, -1 when painting failed. */
    public synchronized int waiting() {
        return fault != null ? -1 : painted > taken ? painted : 0;
    }

    /** Lets the next one be painted. */
    public synchronized void take() {
        taken = painted;
        notifyAll();
    }
}
