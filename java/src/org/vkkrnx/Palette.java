package org.vkkrnx;

import java.util.Arrays;

/** Colours that indices stand for, up to 256. Palettes do not change. */
public final class Palette {
    private static final int MOST = 256;

    private final byte[] entries; // four bytes each: blue, green, red, and one that is kept

    private Palette(byte[] entries) {
        this.entries = entries;
    }

    /** The palette of the first entries of an array, or null for none. */
    static Palette of(byte[] entries, int count) {
        return count == 0 ? null : new Palette(Arrays.copyOf(entries, 4 * count));
    }

    /** The entries, with black ones up to a number; null for no palette. */
    static byte[] entries(Palette palette, int count) {
        return palette == null ? null : Arrays.copyOf(palette.entries, Math.max(palette.entries.length, 4 * count));
    }

    static byte[] room() {
        return new byte[4 * MOST];
    }

    /**
     * Makes a palette of colours.
     *
     * @param colors 1 to 256 colours
     * @return the palette
     */
    public static Palette of(Color... colors) {
        BitmapFields.require(colors.length >= 1 && colors.length <= MOST);
        byte[] entries = new byte[4 * colors.length];
        for (int i = 0; i < colors.length; ++i) {
            entries[4 * i] = (byte) colors[i].blue();
            entries[4 * i + 1] = (byte) colors[i].green();
            entries[4 * i + 2] = (byte) colors[i].red();
        }
        return new Palette(entries);
    }

    /**
     * Gives the fixed palette of a depth.
     *
     * @param bits 1 to 8
     * @return the palette
     */
    public static Palette fixed(int bits) {
        BitmapFields.require(bits >= 1 && bits <= 8);
        byte[] entries = room();
        VkException.check(Native.fixedPalette(entries, bits));
        return of(entries, 1 << bits);
    }

    /**
     * Gives the grays from black to white.
     *
     * @param bits 1 to 8
     * @return the palette
     */
    public static Palette gray(int bits) {
        BitmapFields.require(bits >= 1 && bits <= 8);
        byte[] entries = room();
        VkException.check(Native.grayPalette(entries, bits));
        return of(entries, 1 << bits);
    }

    /** {@return the cube of 216 colours, index 36 r + 6 g + b, and 40 black entries} */
    public static Palette cube() {
        byte[] entries = room();
        Native.cubePalette(entries);
        return new Palette(entries);
    }

    /** {@return the number of entries} */
    public int size() {
        return entries.length / 4;
    }

    /**
     * Gives an entry.
     *
     * @param index from 0 on
     * @return its colour
     */
    public Color get(int index) {
        BitmapFields.require(index >= 0 && index < size());
        return Color.rgb(entries[4 * index + 2], entries[4 * index + 1], entries[4 * index]);
    }

    /**
     * Finds the entry nearest to a colour, as all operations of the library do.
     *
     * @param color the colour
     * @return the index
     */
    public int find(Color color) {
        return Native.findColor(entries, color.red(), color.green(), color.blue());
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Palette palette && Arrays.equals(entries, palette.entries);
    }

    @Override
    public int hashCode() {
        return Arrays.hashCode(entries);
    }
}
