package org.vkkrnx;

/**
 * A rectangle in doubles. Operations refuse edges, and results, that are not finite with
 * {@link Constants#ERROR_INVALID_PARAMETER}.
 *
 * @param left the first x
 * @param top the first y
 * @param right the x behind it
 * @param bottom the y behind it
 */
public record RectD(double left, double top, double right, double bottom) {
    /** A change of edges by the library. */
    private interface Change {
        int apply(double[] edges);
    }

    static RectD of(double[] edges) {
        return new RectD(edges[0], edges[1], edges[2], edges[3]);
    }

    double[] edges() {
        return new double[] {left, top, right, bottom};
    }

    private RectD changed(Change change) {
        double[] edges = edges();
        int code = change.apply(edges);
        if (code < 0) {
            throw new VkException(code);
        }
        return of(edges);
    }

    /** {@return right - left} */
    public double width() {
        return right - left;
    }

    /** {@return bottom - top} */
    public double height() {
        return bottom - top;
    }

    /** {@return whether there is nothing inside, as with edges that are no numbers} */
    public boolean isEmpty() {
        return !(left < right && top < bottom);
    }

    /**
     * Tells whether a place is inside.
     *
     * @param place the place
     * @return whether it is
     */
    public boolean contains(PointD place) {
        return left <= place.x() && place.x() < right && top <= place.y() && place.y() < bottom;
    }

    /**
     * Makes what two rectangles have in common.
     *
     * @param other the other one
     * @return the rectangle; 0, 0, 0, 0 for nothing
     */
    public RectD intersect(RectD other) {
        return changed(edges -> Native.rectdIntersect(edges, other.edges()));
    }

    /**
     * Makes the smallest rectangle around both; empty ones count for nothing.
     *
     * @param other the other one
     * @return the rectangle
     */
    public RectD union(RectD other) {
        return changed(edges -> Native.rectdUnion(edges, other.edges()));
    }

    /**
     * Moves the edges outwards, or inwards by negative numbers.
     *
     * @param x how far left and right move
     * @param y how far top and bottom move
     * @return the rectangle
     */
    public RectD inflate(double x, double y) {
        return changed(edges -> Native.rectdInflate(edges, x, y));
    }

    /**
     * Moves the rectangle.
     *
     * @param x to the right
     * @param y downwards
     * @return the rectangle
     */
    public RectD offset(double x, double y) {
        return changed(edges -> Native.rectdOffset(edges, x, y));
    }

    /**
     * Makes a rectangle of pixels.
     *
     * @param mode how edges are rounded: a {@code RECTD_} value
     * @return the rectangle
     */
    public Rect toRect(int mode) {
        int[] rounded = new int[4];
        VkException.check(Native.rectdToRect(edges(), rounded, mode));
        return Rect.of(rounded);
    }
}
