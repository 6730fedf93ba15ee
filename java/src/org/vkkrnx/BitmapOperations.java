package org.vkkrnx;

/**
 * Operations that change a bitmap.
 *
 * <p>Rows, columns and rectangles are stored pixels; {@link #rectToBitmap} brings shown ones there. Where a bitmap has a
 * region, only pixels inside of it are written. An operation that fails leaves the bitmap as it was, unless it says
 * otherwise. All report progress to the thread's {@link Status}.
 */
abstract class BitmapOperations extends BitmapRows {
    /**
     * Changes size.
     *
     * @param width the new width
     * @param height the new height
     * @param flags {@code SIZEFLAG_} bits
     */
    public final void resize(int width, int height, int flags) {
        run(() -> Native.resize(address, width, height, flags));
    }

    /**
     * Fills this bitmap with another one, resized and brought to its depth. Its pixels are undefined after a failure.
     *
     * @param source the other one
     * @param flags {@code SIZEFLAG_} bits
     */
    public final void resizeFrom(Bitmap source, int flags) {
        run(() -> Native.resizeInto(source.address, address, flags), source);
    }

    /**
     * Changes size by area averaging.
     *
     * @param width the new width
     * @param height the new height
     */
    public final void resample(int width, int height) {
        run(() -> Native.resample(address, width, height, false));
    }

    /**
     * Changes size by bicubic interpolation.
     *
     * @param width the new width
     * @param height the new height
     */
    public final void resampleCubic(int width, int height) {
        run(() -> Native.resample(address, width, height, true));
    }

    /**
     * Fills this bitmap with another one of its depth and order, resampled. Its pixels are undefined after a failure.
     *
     * @param source the other one
     * @param isCubic bicubic interpolation instead of area averaging
     */
    public final void resampleFrom(Bitmap source, boolean isCubic) {
        run(() -> Native.resampleInto(source.address, address, isCubic), source);
    }

    /**
     * Turns the picture about its middle.
     *
     * @param angle hundredths of a degree, clockwise
     * @param flags {@code ROTATEFLAG_} bits
     * @param fill what the picture does not cover
     */
    public final void rotate(int angle, int flags, Color fill) {
        int color = fill.value();
        run(() -> Native.rotate(address, angle, flags, color));
    }

    /**
     * Turns the picture by a quarter.
     *
     * @param isClockwise which way
     */
    public final void rotate90(boolean isClockwise) {
        run(() -> Native.rotate90(address, isClockwise ? 1 : 0));
    }

    /**
     * Shears the picture.
     *
     * @param angle hundredths of a degree, -8999 to 8999
     * @param flags {@code SHEAR_} bits
     * @param fill what the picture does not cover
     */
    public final void shear(int angle, int flags, Color fill) {
        int color = fill.value();
        run(() -> Native.shear(address, angle, flags, color));
    }

    /** Reverses the picture top to bottom. */
    public final void flip() {
        run(() -> Native.flip(address));
    }

    /** Reverses the picture left to right. */
    public final void mirror() {
        run(() -> Native.reverse(address));
    }

    /**
     * Rearranges the pixels for another perspective; the picture looks as before.
     *
     * @param perspective 1 to 8
     */
    public final void changeViewPerspective(int perspective) {
        run(() -> Native.changePerspective(address, perspective));
    }

    /**
     * Carries a rectangle from a perspective to the stored pixels.
     *
     * @param perspective the one that the rectangle is told in
     * @param rect the rectangle
     * @return the rectangle of stored pixels
     */
    public final Rect rectToBitmap(int perspective, Rect rect) {
        int[] edges = rect.edges();
        run(() -> Native.rectToBitmap(address, perspective, edges));
        return Rect.of(edges);
    }

    /**
     * Carries a rectangle of stored pixels to a perspective.
     *
     * @param perspective the one that it is wanted in
     * @param rect the rectangle of stored pixels
     * @return the rectangle
     */
    public final Rect rectFromBitmap(int perspective, Rect rect) {
        int[] edges = rect.edges();
        run(() -> Native.rectFromBitmap(address, perspective, edges));
        return Rect.of(edges);
    }

    /**
     * Warps the picture by a projective map.
     *
     * @param matrix takes places of the picture to places of the canvas
     * @param width the canvas's width; 0: as the warped picture takes
     * @param height the canvas's height; 0: as the warped picture takes
     * @param flags {@code WARP_} bits
     * @param fill what the picture does not cover
     */
    public final void warp(Matrix matrix, int width, int height, int flags, Color fill) {
        double[] elements = matrix.elements();
        int color = fill.value();
        run(() -> Native.warp(address, elements, width, height, flags, color));
    }

    /**
     * Makes an upright rectangle of a part of the picture that has four corners.
     *
     * @param corners the first corner of the canvas, the one at the end of its first row, the last one, and the one at
     *     the beginning of its last row
     * @param width the canvas's width; 0: by the longer side
     * @param height the canvas's height; 0: by the longer side
     * @param flags {@code WARP_} bits
     * @param fill what the picture does not cover
     */
    public final void warpCorners(PointD[] corners, int width, int height, int flags, Color fill) {
        require(corners.length == 4);
        double[] places = PointD.array(corners);
        int color = fill.value();
        run(() -> Native.warpCorners(address, places, width, height, flags, color));
    }

    /**
     * Warps the picture by a grid that tells where the canvas's places come from.
     *
     * @param grid row by row
     * @param columns the places of a row, at least 2
     * @param width the canvas's width; 0: the bitmap's own
     * @param height the canvas's height; 0: the bitmap's own
     * @param flags {@code WARP_} bits
     * @param fill what the picture does not cover
     */
    public final void warpGrid(PointD[] grid, int columns, int width, int height, int flags, Color fill) {
        require(columns > 0 && grid.length % columns == 0);
        double[] places = PointD.array(grid);
        int color = fill.value();
        run(() -> Native.warpGrid(address, places, columns, grid.length / columns, width, height, flags, color));
    }

    /**
     * Cuts the bitmap to a part of it.
     *
     * @param rect what is kept
     */
    public final void trim(Rect rect) {
        int width = clamp(rect.width());
        int height = clamp(rect.height());
        run(() -> Native.trim(address, rect.left(), rect.top(), width, height));
    }

    static int clamp(long value) {
        return (int) Math.max(Integer.MIN_VALUE, Math.min(Integer.MAX_VALUE, value));
    }

    /**
     * Finds what is not border.
     *
     * @param border the border's colour
     * @param tolerance levels of 8-bit channels
     * @return the smallest rectangle around all other pixels; 0, 0, 0, 0 for none
     */
    public final Rect findTrimRect(Color border, int tolerance) {
        int[] edges = new int[4];
        int color = border.value();
        run(() -> Native.trimRect(address, color, tolerance, edges));
        return Rect.of(edges);
    }

    /**
     * Adds pixels around the bitmap.
     *
     * @param left how many at the left
     * @param top how many at the top
     * @param right how many at the right
     * @param bottom how many at the bottom
     * @param kind an {@code EXTEND_} value
     * @param fill the colour for {@link Constants#EXTEND_FILL}
     */
    public final void extend(int left, int top, int right, int bottom, int kind, Color fill) {
        int color = fill.value();
        run(() -> Native.extend(address, left, top, right, bottom, kind, color));
    }

    /**
     * Copies all pixels of a bitmap of the same size and depth. They may be changed in part after a failure.
     *
     * @param source the other one
     */
    public final void copyFrom(Bitmap source) {
        run(() -> Native.copyData(address, source.address), source);
    }

    /**
     * Puts a rectangle of a bitmap into this one.
     *
     * @param rect where it goes
     * @param source the other bitmap, or this one
     * @param from its first pixel there
     * @param operation a {@code COMBINE_} operation and flags
     */
    public final void combine(Rect rect, Bitmap source, Point from, int operation) {
        int width = clamp(rect.width());
        int height = clamp(rect.height());
        run(() -> Native.combine(address, rect.left(), rect.top(), width, height, source.address, from.x(), from.y(),
                operation), source);
    }

    /**
     * Blends a rectangle of this bitmap with another one.
     *
     * @param rect where
     * @param source the other bitmap, or this one
     * @param from its first pixel there
     * @param mode a {@code BLEND_} mode and flags
     * @param opacity 0 to 65535
     */
    public final void blend(Rect rect, Bitmap source, Point from, int mode, int opacity) {
        int width = clamp(rect.width());
        int height = clamp(rect.height());
        run(() -> Native.blend(address, rect.left(), rect.top(), width, height, source.address, from.x(), from.y(), 0,
                0, 0, mode, opacity), source);
    }

    /**
     * Blends a rectangle of this bitmap with another one, through a mask.
     *
     * @param rect where
     * @param source the other bitmap, or this one
     * @param from its first pixel there
     * @param mask 1, 8 or 16 bits that say how much of the source counts
     * @param maskFrom the mask's first pixel there
     * @param mode a {@code BLEND_} mode and flags
     * @param opacity 0 to 65535
     */
    public final void blend(Rect rect, Bitmap source, Point from, Bitmap mask, Point maskFrom, int mode,
            int opacity) {
        int width = clamp(rect.width());
        int height = clamp(rect.height());
        run(() -> Native.blend(address, rect.left(), rect.top(), width, height, source.address, from.x(), from.y(),
                mask.address, maskFrom.x(), maskFrom.y(), mode, opacity), source, mask);
    }

    /**
     * Gives all pixels one colour.
     *
     * @param color the colour
     */
    public final void fill(Color color) {
        int value = color.value();
        run(() -> Native.fill(address, value));
    }

    /**
     * Gives the pixels of a rectangle one colour.
     *
     * @param rect the rectangle
     * @param color the colour
     */
    public final void fill(Rect rect, Color color) {
        int[] edges = rect.edges();
        int value = color.value();
        run(() -> Native.fillRect(address, edges, value));
    }

    /**
     * Covers the bitmap with copies of another.
     *
     * @param pattern the other one
     * @param origin where the first pixel of one of them lies
     */
    public final void fillPattern(Bitmap pattern, Point origin) {
        run(() -> Native.fillPattern(address, pattern.address, origin.x(), origin.y()), pattern);
    }

    /**
     * Gives one colour to what is connected to a pixel and nearly of its colour.
     *
     * @param from the pixel
     * @param color the colour
     * @param tolerance levels of 8-bit channels
     * @param flags 0 or {@link Constants#FLOOD_EIGHT}
     */
    public final void flood(Point from, Color color, int tolerance, int flags) {
        int value = color.value();
        run(() -> Native.flood(address, from.x(), from.y(), value, 0, tolerance, flags));
    }

    /**
     * Gives one colour to what is connected to a pixel, up to a border.
     *
     * @param from the pixel
     * @param color the colour
     * @param border the border's colour
     * @param tolerance levels of 8-bit channels
     * @param flags 0 or {@link Constants#FLOOD_EIGHT}
     */
    public final void floodTo(Point from, Color color, Color border, int tolerance, int flags) {
        int value = color.value();
        int end = border.value();
        int all = flags | Constants.FLOOD_BORDER;
        run(() -> Native.flood(address, from.x(), from.y(), value, end, tolerance, all));
    }

    /**
     * Puts the gray of a bitmap in as this one's alpha.
     *
     * @param alpha the other one
     */
    public final void setAlpha(Bitmap alpha) {
        run(() -> Native.setAlpha(address, alpha.address), alpha);
    }

    /**
     * Gives all pixels one alpha.
     *
     * @param alpha 0 to 255 at 32 bits, 0 to 65535 at 64
     */
    public final void setAlpha(int alpha) {
        run(() -> Native.setAlphaValue(address, alpha));
    }

    /** Multiplies each pixel's colour by its alpha. */
    public final void premultiply() {
        run(() -> Native.premultiply(address, false));
    }

    /** Divides each pixel's colour by its alpha. */
    public final void unpremultiply() {
        run(() -> Native.premultiply(address, true));
    }

    /**
     * Makes the pixels of a rectangle unrecognisable, or brings them back. This keeps no secret.
     *
     * @param rect the rectangle
     * @param key the key
     * @param flags {@link Constants#SCRAMBLE_HIDE} or {@link Constants#SCRAMBLE_SHOW}
     */
    public final void scramble(Rect rect, int key, int flags) {
        int width = clamp(rect.width());
        int height = clamp(rect.height());
        run(() -> Native.scramble(address, rect.left(), rect.top(), width, height, key, flags));
    }

    /**
     * Changes depth, order or palette. Reductions to up to 8 bits dither with the bitmap's method.
     *
     * @param depth the new depth; 0 means 8 with a gray ramp
     * @param flags {@code COLORRES_} bits
     * @param palette the palette for {@link Constants#COLORRES_PALETTE_DEFAULT}; null for none
     */
    public final void changeColors(int depth, int flags, Palette palette) {
        byte[] entries = Palette.entries(palette, 0);
        run(() -> Native.colorRes(0, address, depth, flags, entries, 0));
    }

    /**
     * Makes the picture gray.
     *
     * @param depth 8, 12 or 16
     */
    public final void toGray(int depth) {
        run(() -> Native.grayScale(address, depth));
    }

    /** {@return 0: not gray; 1: from black to white; 2: from white to black; 3: samples of more than 8 bits} */
    public final int grayKind() {
        return code(() -> Native.isGray(address));
    }

    /** {@return the number of different colours} */
    public final long countColors() {
        long[] count = new long[1];
        run(() -> Native.countColors(address, count));
        return count[0];
    }

    /** Finds the smallest and the largest gray sample for {@link #minVal} and {@link #maxVal}. */
    public final void findMinMax() {
        run(() -> Native.minMax(address));
    }

    /**
     * Sets how a gray bitmap is shown.
     *
     * @param window the window, or null for none
     */
    public final void setWindow(Window window) {
        run(() -> window == null ? Native.clearWindow(address)
                : Native.setWindow(address, window.function(), window.flags(), window.center(), window.width()));
    }

    /**
     * Sets how the bitmap is shown; its pixels stay.
     *
     * @param contrast -1000 to 1000
     * @param intensity -1000 to 1000
     * @param gamma times 100, 1 to 10000
     */
    public final void setPaint(int contrast, int intensity, int gamma) {
        run(() -> Native.setPaint(address, contrast, intensity, gamma));
    }

    /** {@return the palette, or null for none} */
    public final Palette palette() {
        byte[] entries = Palette.room();
        return Palette.of(entries, code(() -> Native.palette(address, entries)));
    }

    /**
     * Gives the bitmap a palette; its pixels stay.
     *
     * @param palette the palette, filled up with black as the depth needs it; null for none
     */
    public final void setPalette(Palette palette) {
        int depth = bitsPerPixel();
        byte[] entries = Palette.entries(palette, depth >= 1 && depth <= 8 ? 1 << depth : 0);
        run(() -> Native.setPalette(address, entries));
    }

    /**
     * Finds the entry of the palette nearest to a colour, as the system does.
     *
     * @param color the colour
     * @return the index
     */
    public final int nearestIndex(Color color) {
        int value = color.value();
        return code(() -> Native.nearestIndex(address, value));
    }

    /**
     * Translates a colour meant for another bitmap to one that means the same in this one.
     *
     * @param color the colour
     * @param source the other bitmap
     * @return the colour
     */
    public final Color translate(Color color, Bitmap source) {
        int value = color.value();
        return new Color(code(() -> Native.translateColor(address, source.address, value), source));
    }

    /** Draws the visible overlays into the pixels. */
    public final void flattenOverlays() {
        run(() -> Native.overlayFlatten(address));
    }
}
