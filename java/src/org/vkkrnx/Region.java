package org.vkkrnx;

/**
 * The region of a bitmap: the pixels that operations write to. A bitmap without one behaves like one whose region is the
 * whole picture. Modes are {@code REGION_} values: how a shape is combined with the region that there is.
 */
public final class Region {
    private final Bitmap bitmap;
    private final long address;

    Region(Bitmap bitmap) {
        this.bitmap = bitmap;
        address = bitmap.address;
    }

    /** {@return whether there is one} */
    public boolean exists() {
        return bitmap.code(() -> Native.regionExists(address)) == 1;
    }

    /** Takes the region away. */
    public void clear() {
        bitmap.run(() -> Native.regionFree(address));
    }

    /**
     * Combines the region with a rectangle.
     *
     * @param rect the rectangle
     * @param mode how
     */
    public void rect(Rect rect, int mode) {
        int[] edges = rect.edges();
        bitmap.run(() -> Native.regionRect(address, edges, mode));
    }

    /**
     * Combines the region with an ellipse.
     *
     * @param rect the rectangle whose sides it touches
     * @param mode how
     */
    public void ellipse(Rect rect, int mode) {
        int[] edges = rect.edges();
        bitmap.run(() -> Native.regionEllipse(address, edges, mode));
    }

    /**
     * Combines the region with a rectangle with round corners.
     *
     * @param rect the rectangle
     * @param width of the ellipse that a corner is a quarter of
     * @param height of that ellipse
     * @param mode how
     */
    public void roundRect(Rect rect, int width, int height, int mode) {
        int[] edges = rect.edges();
        bitmap.run(() -> Native.regionRoundRect(address, edges, width, height, mode));
    }

    /**
     * Combines the region with a polygon.
     *
     * @param corners its corners, in order
     * @param rule {@link Constants#REGION_ALTERNATE} or {@link Constants#REGION_WINDING}
     * @param mode how
     */
    public void polygon(PointD[] corners, int rule, int mode) {
        double[] places = PointD.array(corners);
        bitmap.run(() -> Native.regionPolygon(address, places, rule, mode));
    }

    /**
     * Combines the region with the pixels of a mask that are not 0.
     *
     * @param mask a bitmap of any depth
     * @param mode how
     */
    public void mask(Bitmap mask, int mode) {
        bitmap.run(() -> Native.regionMask(address, mask.address, mode), mask);
    }

    /**
     * Combines the region with the pixels of a range of colours.
     *
     * @param lower the smallest of each channel
     * @param upper the largest of each channel
     * @param mode how
     */
    public void colors(Color lower, Color upper, int mode) {
        int low = lower.value();
        int high = upper.value();
        bitmap.run(() -> Native.regionColor(address, low, high, mode));
    }

    /**
     * Combines the region with what is connected to a pixel and nearly of its colour.
     *
     * @param from the pixel
     * @param lower how far channels may be below it
     * @param upper how far channels may be above it
     * @param mode how
     */
    public void wand(Point from, Color lower, Color upper, int mode) {
        int low = lower.value();
        int high = upper.value();
        bitmap.run(() -> Native.regionWand(address, from.x(), from.y(), low, high, mode));
    }

    /** Makes the region what it leaves out. */
    public void invert() {
        bitmap.run(() -> Native.regionInvert(address));
    }

    /**
     * Moves the region.
     *
     * @param columns to the right
     * @param rows to higher rows
     */
    public void offset(int columns, int rows) {
        bitmap.run(() -> Native.regionOffset(address, columns, rows));
    }

    /**
     * Takes over the region of another bitmap.
     *
     * @param source the other one
     */
    public void copyFrom(Bitmap source) {
        bitmap.run(() -> Native.regionCopy(address, source.address), source);
    }

    /** {@return the smallest rectangle around the region} */
    public Rect bounds() {
        int[] edges = new int[4];
        bitmap.run(() -> Native.regionBounds(address, edges));
        return Rect.of(edges);
    }

    /** {@return the number of pixels inside} */
    public long area() {
        long[] pixels = new long[1];
        bitmap.run(() -> Native.regionArea(address, pixels));
        return pixels[0];
    }

    /**
     * Tells whether a pixel is inside.
     *
     * @param col its column
     * @param row its row
     * @return whether it is
     */
    public boolean contains(int col, int row) {
        return VkException.checkNumber(bitmap.code(() -> Native.regionContains(address, col, row))) == 1;
    }

    /** {@return a new 1-bit bitmap that is 1 inside} */
    public Bitmap toMask() {
        return Bitmap.make(made -> Native.regionAsMask(made, address), bitmap);
    }

    /**
     * Gives the runs of a row.
     *
     * @param row the row
     * @return first pixel, and pixel behind the last, of each run in turn
     */
    public int[] runs(int row) {
        int[] result = new int[1];
        int[][] runs = new int[1][];
        bitmap.run(() -> {
            runs[0] = Native.regionRow(address, row, result);
            return result[0];
        });
        return runs[0];
    }
}
