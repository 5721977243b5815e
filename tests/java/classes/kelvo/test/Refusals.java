package kelvo.test;

import android.graphics.Bitmap;

import java.util.Arrays;
import java.util.Objects;

/** What bitmaps refuse. */
public final class Refusals {
    private final StringBuilder faults = new StringBuilder();

    private Refusals() {}

    private void expect(Class<? extends Throwable> expected, String what, Runnable call) {
        Class<?> thrown = null;
        try {
            call.run();
        } catch (RuntimeException exception) {
            thrown = exception.getClass();
            // The machine's own ones come without words from code that it has compiled.
            if (exception.getMessage() == null && thrown != NullPointerException.class) {
                faults.append(what).append(" says nothing; ");
            }
        }
        if (!Objects.equals(thrown, expected)) {
            faults.append(what).append(" threw ").append(thrown).append("; ");
        }
    }

    /**
     * Asks for what is not in the bitmap, which has at least two columns and rows, and for what hardly is.
     * Empty unless something was not refused as expected, or something was written.
     */
    public static String outside(Bitmap bitmap) {
        Refusals tests = new Refusals();
        int w = bitmap.getWidth();
        int h = bitmap.getHeight();
        int[] all = new int[w * h];
        int big = Integer.MAX_VALUE;
        Class<? extends Throwable> wrong = IllegalArgumentException.class;
        Class<? extends Throwable> beyond = ArrayIndexOutOfBoundsException.class;
        int[] before = new int[w * h];
        bitmap.getPixels(before, 0, w, 0, 0, w, h);

        tests.expect(wrong, "column -1", () -> bitmap.getPixel(-1, 0));
        tests.expect(wrong, "row -1", () -> bitmap.setPixel(0, -1, -1));
        tests.expect(wrong, "column w", () -> bitmap.setPixel(w, 0, -1));
        tests.expect(wrong, "row h", () -> bitmap.getPixel(0, h));
        tests.expect(wrong, "left of it", () -> bitmap.setPixels(all, 0, w, -1, 0, 1, 1));
        tests.expect(wrong, "below it", () -> bitmap.setPixels(all, 0, w, 0, -1, 1, 1));
        tests.expect(wrong, "too wide", () -> bitmap.setPixels(all, 0, w, 1, 0, w, 1));
        tests.expect(wrong, "too high", () -> bitmap.setPixels(all, 0, w, 0, 1, 1, h));
        tests.expect(wrong, "sum overflows", () -> bitmap.setPixels(all, 0, w, 1, 1, big, big));
        tests.expect(wrong, "negative width", () -> bitmap.setPixels(all, 0, w, 0, 0, -1, 1));
        tests.expect(wrong, "negative height", () -> bitmap.getPixels(all, 0, w, 0, 0, 1, -1));
        tests.expect(wrong, "short stride", () -> bitmap.getPixels(all, 0, w - 1, 0, 0, w, h));
        tests.expect(wrong, "least stride", () -> bitmap.getPixels(all, 0, 1 - w, 0, 0, w, h));
        tests.expect(beyond, "array ends", () -> bitmap.setPixels(all, 1, w, 0, 0, w, h));
        tests.expect(beyond, "array begins", () -> bitmap.setPixels(all, 0, -w, 0, 0, w, 2));
        tests.expect(beyond, "offset", () -> bitmap.setPixels(all, -1, w, 0, 0, 1, 1));
        tests.expect(beyond, "big stride", () -> bitmap.setPixels(all, 0, big, 0, 0, 1, 2));
        tests.expect(beyond, "big offset", () -> bitmap.setPixels(all, big, w, 0, 0, 2, 1));
        tests.expect(NullPointerException.class, "no array", () -> bitmap.setPixels(null, 0, w, 0, 0, 1, 1));
        tests.expect(null, "no columns", () -> bitmap.setPixels(all, -5, 0, -9, -9, 0, 7));
        tests.expect(null, "no rows", () -> bitmap.getPixels(all, big, 0, big, big, 7, 0));

        int[] after = new int[w * h];
        bitmap.getPixels(after, 0, w, 0, 0, w, h);
        if (!Arrays.equals(before, after)) {
            tests.faults.append("a refused write was done; ");
        }
        return tests.faults.toString();
    }

    /** Touches pixels in every way there is; empty when each way throws IllegalStateException. */
    public static String everything(Bitmap bitmap) {
        Refusals tests = new Refusals();
        int[] one = new int[1];
        Class<? extends Throwable> state = IllegalStateException.class;
        tests.expect(state, "getPixel", () -> bitmap.getPixel(0, 0));
        tests.expect(state, "getPixels", () -> bitmap.getPixels(one, 0, 1, 0, 0, 1, 1));
        return tests.faults + writing(bitmap);
    }

    /** Writes in every way there is; empty when each throws IllegalStateException. */
    public static String writing(Bitmap bitmap) {
        Refusals tests = new Refusals();
        Class<? extends Throwable> state = IllegalStateException.class;
        tests.expect(state, "setPixel", () -> bitmap.setPixel(0, 0, -1));
        tests.expect(state, "setPixels", () -> bitmap.setPixels(new int[1], 0, 1, 0, 0, 1, 1));
        tests.expect(state, "eraseColor", () -> bitmap.eraseColor(-1));
        return tests.faults.toString();
    }

    /** A pixel of a bitmap that is only read, by both ways; after {@link #writing}. */
    public static String reading(Bitmap bitmap) {
        int[] one = new int[1];
        bitmap.getPixels(one, 0, 1, 1, 2, 1, 1);
        return writing(bitmap) + Integer.toHexString(one[0]) + " " + Integer.toHexString(bitmap.getPixel(1, 2));
    }
}
