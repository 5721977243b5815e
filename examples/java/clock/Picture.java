package clock;

/** Colours in rows, drawn into by plain loops. The origin is in the middle; x goes right, y up, in pixels. */
final class Picture {
    /** A shape: how far a place lies outside of it, negative inside. */
    interface Shape {
        double distance(double x, double y);
    }

    /** What a shape is filled with: a colour for each place, 0xAARRGGBB. */
    interface Paint {
        int at(double x, double y);
    }

    final int width;
    final int height;
    /** Row by row, the lowest first. */
    final int[] colours;

    Picture(int width, int height) {
        this.width = width;
        this.height = height;
        colours = new int[width * height];
    }

    /** A copy to draw on. */
    Picture(Picture other) {
        this(other.width, other.height);
        System.arraycopy(other.colours, 0, colours, 0, colours.length);
    }

    /** Lays the paint over what is there, inside the shape; its edge is smooth over one pixel. */
    void fill(Shape shape, Paint paint) {
        for (int row = 0, n = 0; row < height; ++row) {
            double y = row + 0.5 - 0.5 * height;
            for (int column = 0; column < width; ++column, ++n) {
                double x = column + 0.5 - 0.5 * width;
                double cover = Math.min(0.5 - shape.distance(x, y), 1);
                if (cover > 0) {
                    colours[n] = over(paint.at(x, y), cover, colours[n]);
                }
            }
        }
    }

    void fill(Shape shape, int colour) {
        fill(shape, (x, y) -> colour);
    }

    /** A colour, its alpha times {@code cover}, over another one. */
    private static int over(int upper, double cover, int lower) {
        double alpha = (upper >>> 24) / 255.0 * cover;
        double below = (lower >>> 24) / 255.0 * (1 - alpha);
        double sum = alpha + below;
        int result = (int) Math.round(255 * sum) << 24;
        for (int shift = 16; shift >= 0; shift -= 8) {
            double channel = (upper >> shift & 255) * alpha + (lower >> shift & 255) * below;
            result |= (int) Math.round(sum == 0 ? 0 : channel / sum) << shift;
        }
        return result;
    }

    /** From one opaque colour (t up to 0) to another (t from 1). */
    static int mix(int from, int to, double t) {
        double part = Math.max(0, Math.min(1, t));
        int result = 0xFF000000;
        for (int shift = 16; shift >= 0; shift -= 8) {
            double channel = (from >> shift & 255) * (1 - part) + (to >> shift & 255) * part;
            result |= (int) Math.round(channel) << shift;
        }
        return result;
    }

    /** An opaque colour made translucent. */
    static int translucent(int colour, double alpha) {
        return colour & 0xFFFFFF | (int) Math.round(255 * Math.max(0, Math.min(1, alpha))) << 24;
    }

    static Shape disc(double centreX, double centreY, double radius) {
        return (x, y) -> Math.hypot(x - centreX, y - centreY) - radius;
    }

    /** A stroke with round ends, maybe of two sizes. */
    static Shape stroke(double x1, double y1, double radius1, double x2, double y2, double radius2) {
        double dx = x2 - x1;
        double dy = y2 - y1;
        double square = dx * dx + dy * dy;
        return (x, y) -> {
            double t = Math.max(0, Math.min(1, ((x - x1) * dx + (y - y1) * dy) / square));
            return Math.hypot(x - x1 - t * dx, y - y1 - t * dy) - radius1 - t * (radius2 - radius1);
        };
    }
}
