package android.graphics;

import java.lang.ref.Cleaner;

/**
 * A picture whose pixels belong to native code, such as a surface that is drawn as a texture: what is written
 * here is what is drawn. Native code makes bitmaps.
 *
 * <p>Colours are ints, 0xAARRGGBB, not premultiplied. As on Android the pixels themselves are kept
 * premultiplied, in as many of each channel's upper bits as the configuration has; so a colour read back is
 * not always exactly the one written, but one that was read is, when it is written again. Row 0 is the first
 * in memory; of a texture's surface it is the one that sprites show lowest, so that y points up as it does in
 * the scene.
 *
 * <p>Each operation that touches pixels has them locked while it runs, and uploads what it wrote for GL to
 * draw: many pixels are better set by one {@link #setPixels} than by many {@link #setPixel}. The surface may
 * not be locked elsewhere meanwhile. Any thread; one at a time works on a bitmap.
 */
public final class Bitmap {
    /** How pixels are kept. */
    public enum Config {
        /** 8 bits, opacity alone: colours are read as black. */
        ALPHA_8,
        /** 5, 6 and 5 bits, opaque: what is written is premultiplied, that is, laid over black. */
        RGB_565,
        /** 4 bits a channel. */
        ARGB_4444,
        /** 8 bits a channel. */
        ARGB_8888
    }

    /** Of bitmaps that are made for no density. */
    public static final int DENSITY_NONE = 0;

    private static final int DENSITY_DEFAULT = 160;
    private static final Cleaner CLEANER = Cleaner.create();

    /** The native bitmap: freed once, by {@link #recycle} or by the cleaner. */
    private static final class Owned implements Runnable {
        private long bitmap;

        Owned(long bitmap) {
            this.bitmap = bitmap;
        }

        long get() {
            return bitmap;
        }

        @Override
        public synchronized void run() {
            if (bitmap != 0) {
                nativeFree(bitmap);
                bitmap = 0;
            }
        }
    }

    private final Owned owned;
    private final Cleaner.Cleanable cleanable;
    private final boolean mutable;
    private final byte[] ninePatchChunk;
    private final int density;
    private final int width;
    private final int height;
    private final Config config;

    // Called by native code, which keeps the native bitmap when this throws.
    private Bitmap(long bitmap, boolean mutable, byte[] ninePatchChunk, int density) {
        this.mutable = mutable;
        this.ninePatchChunk = ninePatchChunk;
        this.density = density < 0 ? DENSITY_DEFAULT : density;
        width = nativeWidth(bitmap);
        height = nativeHeight(bitmap);
        int kind = nativeConfig(bitmap);
        config = kind < 0 ? null : Config.values()[kind];
        owned = new Owned(bitmap);
        cleanable = CLEANER.register(this, owned);
    }

    /**
     * The width, also of a bitmap that was recycled.
     *
     * @return pixels
     */
    public int getWidth() {
        return width;
    }

    /**
     * The height, also of a bitmap that was recycled.
     *
     * @return pixels
     */
    public int getHeight() {
        return height;
    }

    /**
     * How the pixels are kept.
     *
     * @return null for pixels of a kind that Java cannot read or write: each operation that would touch them
     *     throws IllegalStateException
     */
    public Config getConfig() {
        return config;
    }

    /**
     * Whether pixels may be written.
     *
     * @return true for bitmaps over surfaces
     */
    public boolean isMutable() {
        return mutable;
    }

    /**
     * The density that the picture is made for.
     *
     * @return dots per inch, or {@link #DENSITY_NONE}
     */
    public int getDensity() {
        return density;
    }

    /**
     * How the picture stretches.
     *
     * @return null for a picture that is no nine-patch
     */
    public byte[] getNinePatchChunk() {
        return ninePatchChunk;
    }

    /** Lets the pixels go. A bitmap without references does so by itself, some time later. */
    public synchronized void recycle() {
        cleanable.clean();
    }

    /**
     * Whether the pixels are gone.
     *
     * @return true after {@link #recycle}
     */
    public synchronized boolean isRecycled() {
        return owned.get() == 0;
    }

    /**
     * Reads one pixel.
     *
     * @param x column, from the left
     * @param y row, from the first in memory
     * @return its colour
     * @throws IllegalArgumentException outside of the bitmap
     * @throws IllegalStateException when the bitmap was recycled or its pixels cannot be had
     */
    public synchronized int getPixel(int x, int y) {
        checkAlive("getPixel");
        checkInside(x, y);
        return nativeGetPixel(owned.get(), x, y);
    }

    /**
     * Writes one pixel.
     *
     * @param x column, from the left
     * @param y row, from the first in memory
     * @param color its colour
     * @throws IllegalArgumentException outside of the bitmap
     * @throws IllegalStateException when the bitmap was recycled, is not mutable or its pixels cannot be had
     */
    public synchronized void setPixel(int x, int y, int color) {
        checkAlive("setPixel");
        checkMutable();
        checkInside(x, y);
        nativeSetPixel(owned.get(), x, y, color);
    }

    /**
     * Reads a rectangle into {@code pixels}, its first row from {@code offset} on, each further one
     * {@code stride} elements, at least {@code width} forth or back, from the one before.
     *
     * @param pixels receives colours
     * @param offset of the first colour in {@code pixels}
     * @param stride from row to row of {@code pixels}
     * @param x left column of the rectangle
     * @param y first row of the rectangle
     * @param width columns
     * @param height rows
     * @throws IllegalArgumentException for a rectangle outside of the bitmap or a short stride
     * @throws ArrayIndexOutOfBoundsException when the array is too short
     * @throws IllegalStateException when the bitmap was recycled or its pixels cannot be had
     */
    public synchronized void getPixels(int[] pixels, int offset, int stride, int x, int y, int width,
                                       int height) {
        checkAlive("getPixels");
        if (width == 0 || height == 0) {
            return;
        }
        checkRectangle(x, y, width, height, offset, stride, pixels.length);
        nativeGetPixels(owned.get(), pixels, offset, stride, x, y, width, height);
    }

    /**
     * Writes a rectangle from {@code pixels}, laid out as for {@link #getPixels}.
     *
     * @param pixels colours
     * @param offset of the first colour in {@code pixels}
     * @param stride from row to row of {@code pixels}
     * @param x left column of the rectangle
     * @param y first row of the rectangle
     * @param width columns
     * @param height rows
     * @throws IllegalArgumentException for a rectangle outside of the bitmap or a short stride
     * @throws ArrayIndexOutOfBoundsException when the array is too short
     * @throws IllegalStateException when the bitmap was recycled, is not mutable or its pixels cannot be had
     */
    public synchronized void setPixels(int[] pixels, int offset, int stride, int x, int y, int width,
                                       int height) {
        checkAlive("setPixels");
        checkMutable();
        if (width == 0 || height == 0) {
            return;
        }
        checkRectangle(x, y, width, height, offset, stride, pixels.length);
        nativeSetPixels(owned.get(), pixels, offset, stride, x, y, width, height);
    }

    /**
     * Gives every pixel one colour.
     *
     * @param color theirs
     * @throws IllegalStateException when the bitmap was recycled, is not mutable or its pixels cannot be had
     */
    public synchronized void eraseColor(int color) {
        checkAlive("eraseColor");
        checkMutable();
        nativeEraseColor(owned.get(), color);
    }

    private void checkAlive(String operation) {
        if (owned.get() == 0) {
            throw new IllegalStateException("Can't call " + operation + "() on a recycled bitmap");
        }
    }

    private void checkMutable() {
        if (!mutable) {
            throw new IllegalStateException("The bitmap is immutable");
        }
    }

    private void checkInside(int x, int y) {
        checkArgument(x >= 0 && x < width, "x must be from 0 to below the bitmap's width, not ", x);
        checkArgument(y >= 0 && y < height, "y must be from 0 to below the bitmap's height, not ", y);
    }

    private void checkRectangle(int x, int y, int width, int height, int offset, int stride, int length) {
        checkArgument(x >= 0, "x must be at least 0, not ", x);
        checkArgument(y >= 0, "y must be at least 0, not ", y);
        checkArgument(width >= 0, "width must be at least 0, not ", width);
        checkArgument(height >= 0, "height must be at least 0, not ", height);
        checkArgument(x <= this.width - width, "x + width must be within the bitmap: width is ", width);
        checkArgument(y <= this.height - height, "y + height must be within the bitmap: height is ", height);
        checkArgument(Math.abs((long) stride) >= width, "stride must be at least the width, not ", stride);
        long lastRow = offset + (long) (height - 1) * stride;
        if (Math.min(offset, lastRow) < 0 || Math.max(offset, lastRow) + width > length) {
            throw new ArrayIndexOutOfBoundsException("The pixels do not fit into " + length + " elements");
        }
    }

    private static void checkArgument(boolean holds, String otherwise, int value) {
        if (!holds) {
            throw new IllegalArgumentException(otherwise + value);
        }
    }

    static native int nativeWidth(long bitmap);

    static native int nativeHeight(long bitmap);

    /** The ordinal of a Config; -1 when there is none for it. */
    static native int nativeConfig(long bitmap);

    static native void nativeFree(long bitmap);

    static native int nativeGetPixel(long bitmap, int x, int y);

    static native void nativeSetPixel(long bitmap, int x, int y, int color);

    static native void nativeGetPixels(long bitmap, int[] pixels, int offset, int stride, int x, int y,
                                       int width, int height);

    static native void nativeSetPixels(long bitmap, int[] pixels, int offset, int stride, int x, int y,
                                       int width, int height);

    static native void nativeEraseColor(long bitmap, int color);
}
