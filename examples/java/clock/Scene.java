package clock;

import android.graphics.Bitmap;

import java.io.IOException;

/**
 * A scene that native code plays off screen, with a sprite whose picture Java draws. All but the bitmaps is
 * used by one thread.
 */
final class Scene implements AutoCloseable {
    static {
        System.loadLibrary("wallclock"); // from java.library.path; tells the libraries of the virtual machine
    }

    private long playback; // native
    private final Bitmap[] bitmaps;

    /**
     * Opens a scene file; {@code sprite} is the name of the node whose texture has surfaces to draw into.
     *
     * @throws IOException when the scene cannot be read, has no such sprite or cannot be shown
     */
    Scene(String file, String sprite) throws IOException {
        playback = nativeOpen(file, sprite);
        try {
            bitmaps = nativeBitmaps(playback);
        } catch (IOException fault) {
            nativeClose(playback);
            throw fault;
        }
    }

    /** The sprite's pictures: of two, one is seen while the other one is drawn. */
    Bitmap getBitmap(int index) {
        return bitmaps[index];
    }

    int getFirstFrame() {
        return nativeFrame(playback, false);
    }

    int getLastFrame() {
        return nativeFrame(playback, true);
    }

    /** The index of the bitmap to draw next. */
    int current() {
        return nativeCurrent(playback);
    }

    /** Lets the current bitmap be seen; returns the index of the one to draw next. */
    int swap() {
        return nativeSwap(playback);
    }

    /**
     * Shows a frame and writes what is seen to a PNG file.
     *
     * @throws IOException when the file cannot be written
     */
    void show(int frame, String picture) throws IOException {
        nativeShow(playback, frame, picture);
    }

    /** Ends the scene; its bitmaps are not to be used any more. */
    @Override
    public void close() {
        for (Bitmap bitmap : bitmaps) {
            bitmap.recycle();
        }
        nativeClose(playback);
        playback = 0;
    }

    private static native long nativeOpen(String file, String sprite) throws IOException;

    private static native Bitmap[] nativeBitmaps(long playback) throws IOException;

    private static native int nativeFrame(long playback, boolean last);

    private static native int nativeCurrent(long playback);

    private static native int nativeSwap(long playback);

    private static native void nativeShow(long playback, int frame, String picture) throws IOException;

    private static native void nativeClose(long playback);
}
