package kelvo.test;

import android.graphics.Bitmap;

/** Draws what no turning or mirroring leaves alike. */
public final class Painter {
    private Painter() {}

    /** Column and row, from the lower left one, decide red and green; blue tells the halves apart. */
    private static int colour(int x, int y, int width, int height) {
        int red = 255 * x / Math.max(width - 1, 1);
        int green = 255 * y / Math.max(height - 1, 1);
        return 0xFF000000 | red << 16 | green << 8 | (x < width / 2 ? 40 : 200);
    }

    /**
     * Fills the bitmap, column 0 in white, draws into it by a rectangle that begins in the middle of an array
     * whose rows are longer and upside down, then one pixel more, half transparent.
     */
    public static void paint(Bitmap bitmap) {
        int width = bitmap.getWidth();
        int height = bitmap.getHeight();
        bitmap.eraseColor(0xFFFFFFFF);
        int stride = width + 3;
        int last = 5 + (height - 1) * stride;
        int[] colours = new int[last + stride];
        for (int y = 0; y < height; ++y) {
            for (int x = 1; x < width; ++x) {
                colours[last - y * stride + x - 1] = colour(x, y, width, height);
            }
        }
        bitmap.setPixels(colours, last, -stride, 1, 0, width - 1, height);
        bitmap.setPixel(2, 1, 0x80FF8020);
    }

    /** The configuration's name and whether it is mutable, size and density. */
    public static String describe(Bitmap bitmap) {
        return bitmap.getConfig() + " " + bitmap.isMutable() + " " + bitmap.getWidth() + "x"
                + bitmap.getHeight() + " " + bitmap.getDensity() + " " + (bitmap.getNinePatchChunk() == null);
    }
}
