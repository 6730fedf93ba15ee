package org.vkkrnx;

/**
 * A colour, a palette index, or a gray level.
 *
 * @param value red in bits 0 to 7, green in 8 to 15, blue in 16 to 23; or 0x01 in the top byte and an index; or 0x04 in
 *     the top byte and a gray level in bits 8 to 15
 */
public record Color(int value) {
    private static final int INDEX = 0x01;
    private static final int GRAY = 0x04;

    /** Black. */
    public static final Color BLACK = rgb(0, 0, 0);
    /** White. */
    public static final Color WHITE = rgb(255, 255, 255);

    /**
     * Makes a colour; the low 8 bits of each channel count.
     *
     * @param red 0 to 255
     * @param green 0 to 255
     * @param blue 0 to 255
     * @return the colour
     */
    public static Color rgb(int red, int green, int blue) {
        return new Color((red & 255) | (green & 255) << 8 | (blue & 255) << 16);
    }

    /**
     * Stands for an entry of a palette.
     *
     * @param index 0 to 255
     * @return the colour value
     */
    public static Color index(int index) {
        return new Color(INDEX << 24 | (index & 255));
    }

    /**
     * Stands for a gray level.
     *
     * @param level 0 to 255
     * @return the colour value
     */
    public static Color gray(int level) {
        return new Color(GRAY << 24 | (level & 255) << 8);
    }

    /** {@return red, 0 to 255} */
    public int red() {
        return value & 255;
    }

    /** {@return green, 0 to 255} */
    public int green() {
        return value >>> 8 & 255;
    }

    /** {@return blue, 0 to 255} */
    public int blue() {
        return value >>> 16 & 255;
    }

    /** {@return whether this is an index of a palette} */
    public boolean isIndex() {
        return value >>> 24 == INDEX;
    }
}
