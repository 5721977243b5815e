/** A part of an application that draws into a bitmap. */
final class BitmapUser {
    static void draw(android.graphics.Bitmap bitmap) {
        if (bitmap.isMutable() && bitmap.getConfig() == android.graphics.Bitmap.Config.ARGB_8888) {
            bitmap.eraseColor(0xFF336699);
        }
    }
}
