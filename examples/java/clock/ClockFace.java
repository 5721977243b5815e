package clock;

import android.graphics.Bitmap;

/** A clock on a wall, with its shadow: gilt, with Roman numerals and a small sky that shows the evening. */
final class ClockFace {
    private static final int NAVY = 0xFF131B37;
    private static final int INDIGO = 0xFF2A255C;
    private static final int PLUM = 0xFF6B3369;
    private static final int CORAL = 0xFFF5755C;
    private static final int GOLD = 0xFFFFC95E;
    private static final int CREAM = 0xFFFFF2DB;
    private static final int BROWN = 0xFF3A1A18;
    private static final int SEA = 0xFF0F5C6E;

    private static final String[] NUMERALS = {
        "XII", "I", "II", "III", "IIII", "V", "VI", "VII", "VIII", "IX", "X", "XI"
    };
    /** The middle of the small sky, and its radius. */
    private static final double SKY_Y = -31;
    private static final double SKY_RADIUS = 19;

    /** What stays as it is: all but the sky and the hands. */
    private final Picture still;

    ClockFace(int width, int height) {
        still = new Picture(width, height);
        paintCase();
        for (int minute = 0; minute < 60; ++minute) {
            double sin = Math.sin(minute * Math.PI / 30);
            double cos = Math.cos(minute * Math.PI / 30);
            boolean hour = minute % 5 == 0;
            double inner = hour ? 77 : 80.5;
            double half = hour ? 1.3 : 0.5;
            still.fill(Picture.stroke(inner * sin, inner * cos, half, 84 * sin, 84 * cos, half), NAVY);
            if (hour) {
                paintNumeral(NUMERALS[minute / 5], 62 * sin, 62 * cos);
            }
        }
    }

    /** Light comes from the upper left. */
    private void paintCase() {
        still.fill((x, y) -> -1, (x, y) -> Picture.translucent(0xFF000000,
                0.5 * (1 - (Math.hypot(x - 4, y + 7) - 98) / 14)));
        still.fill(Picture.disc(0, 0, 102), BROWN);
        still.fill(Picture.disc(0, 0, 100), (x, y) -> gilt(y - x));
        still.fill(Picture.disc(0, 0, 92.5), (x, y) -> gilt(x - y));
        still.fill(Picture.disc(0, 0, 88.5), BROWN);
        still.fill(Picture.disc(0, 0, 87.5),
                (x, y) -> Picture.mix(CREAM, 0xFFE3C79B, (Math.hypot(x, y) - 30) / 90));
        still.fill(Picture.disc(0, 0, 87.5),
                (x, y) -> Picture.translucent(BROWN, 0.05 * (Math.hypot(x - 3, y + 4) - 79)));
    }

    /** The colour of metal that faces the light the more, the greater {@code slope}. */
    private static int gilt(double slope) {
        double light = 0.5 + slope / 270;
        return light < 0.5 ? Picture.mix(0xFF6B3A1C, 0xFFC98A3A, 2 * light)
                : Picture.mix(0xFFC98A3A, 0xFFFFE9A8, 2 * light - 1);
    }

    private void paintNumeral(String numeral, double centreX, double centreY) {
        double width = 0;
        for (char letter : numeral.toCharArray()) {
            width += letter == 'I' ? 4.2 : 9.4;
        }
        double left = centreX - width / 2;
        double top = centreY + 6.5;
        double foot = centreY - 6.5;
        for (char letter : numeral.toCharArray()) {
            if (letter == 'I') {
                still.fill(Picture.stroke(left + 2.1, foot, 1, left + 2.1, top, 1), NAVY);
            } else if (letter == 'V') {
                still.fill(Picture.stroke(left + 1.5, top, 1, left + 4.7, foot, 1), NAVY);
                still.fill(Picture.stroke(left + 4.7, foot, 0.6, left + 8, top, 0.6), NAVY);
            } else {
                still.fill(Picture.stroke(left + 1.5, top, 1, left + 8, foot, 1), NAVY);
                still.fill(Picture.stroke(left + 1.5, foot, 0.6, left + 8, top, 0.6), NAVY);
            }
            left += letter == 'I' ? 4.2 : 9.4;
        }
    }

    /** Draws the clock as it is at a time of day into a bitmap of its size. */
    void draw(Bitmap bitmap, double hours) {
        Picture picture = new Picture(still);
        paintSky(picture, hours);
        double hourAngle = hours * Math.PI / 6;
        double minuteAngle = hours * Math.PI * 2;
        int shadow = Picture.translucent(BROWN, 0.3);
        picture.fill(hand(2, -3, hourAngle, 45, 3.4), shadow);
        picture.fill(hand(0, 0, hourAngle, 45, 3.4), NAVY);
        picture.fill(hand(3, -4, minuteAngle, 73, 2.4), shadow);
        picture.fill(hand(0, 0, minuteAngle, 73, 2.4), NAVY);
        picture.fill(Picture.disc(0, 0, 5.5), NAVY);
        picture.fill(Picture.disc(0, 0, 3.5), GOLD);
        // All at once: each write is uploaded for GL to draw.
        bitmap.setPixels(picture.colours, 0, picture.width, 0, 0, picture.width, picture.height);
    }

    private static Picture.Shape hand(double x, double y, double angle, double length, double half) {
        double sin = Math.sin(angle);
        double cos = Math.cos(angle);
        return Picture.stroke(x - 14 * sin, y - 14 * cos, half, x + length * sin, y + length * cos, half / 3);
    }

    /** The moon rises, and the stars come out. */
    private static void paintSky(Picture picture, double hours) {
        double night = Math.max(0, Math.min(1, (hours - 19) / 3));
        picture.fill(Picture.disc(0, SKY_Y, SKY_RADIUS + 2), (x, y) -> gilt(3 * (x - y + SKY_Y)));
        Picture.Shape window = Picture.disc(0, SKY_Y, SKY_RADIUS);
        picture.fill(window, (x, y) -> {
            double height = (y - SKY_Y) / (2 * SKY_RADIUS) + 0.5;
            int evening = Picture.mix(CORAL, PLUM, height * 1.4);
            return Picture.mix(evening, Picture.mix(INDIGO, NAVY, height), night);
        });
        for (int star = 0; star < 14; ++star) {
            double x = (star * 29 % 33) - 16;
            double y = SKY_Y - 5 + star * 17 % 22;
            picture.fill(Picture.disc(x, y, 0.7), Picture.translucent(CREAM, night * (x * x < 150 ? 1 : 0)));
        }
        double rise = Math.max(0, Math.min(1, (hours - 19.5) / 4.5));
        Picture.Shape moon = Picture.disc(10 - 16 * rise, SKY_Y - 17 + 25 * rise, 5);
        picture.fill((x, y) -> Math.max(moon.distance(x, y), window.distance(x, y)), CREAM);
        Picture.Shape sea = (x, y) -> y - SKY_Y + 9 + 0.7 * Math.sin(x * 0.9 + hours * 9);
        picture.fill((x, y) -> Math.max(sea.distance(x, y), window.distance(x, y)),
                Picture.mix(SEA, NAVY, 0.7 * night));
    }
}
