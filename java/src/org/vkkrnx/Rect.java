package org.vkkrnx;

/**
 * A rectangle of pixels. It is empty when left is not before right, or top not before bottom. Edges never overflow: a
 * result beyond 32 bits is the nearest number of 32 bits.
 *
 * @param left its first column
 * @param top its first row
 * @param right the column behind it
 * @param bottom the row behind it
 */
public record Rect(int left, int top, int right, int bottom) {
    /** A change of edges by the library. */
    private interface Change {
        int apply(int[] edges);
    }

    static Rect of(int[] edges) {
        return new Rect(edges[0], edges[1], edges[2], edges[3]);
    }

    int[] edges() {
        return new int[] {left, top, right, bottom};
    }

    private Rect changed(Change change) {
        int[] edges = edges();
        int code = change.apply(edges);
        if (code < 0) {
            throw new VkException(code);
        }
        return of(edges);
    }

    /** {@return right - left, negative for edges the wrong way round} */
    public long width() {
        return (long) right - left;
    }

    /** {@return bottom - top, negative for edges the wrong way round} */
    public long height() {
        return (long) bottom - top;
    }

    /** {@return whether there is no pixel inside} */
    public boolean isEmpty() {
        return left >= right || top >= bottom;
    }

    /**
     * Tells whether a pixel is inside.
     *
     * @param x its column
     * @param y its row
     * @return whether it is
     */
    public boolean contains(int x, int y) {
        return left <= x && x < right && top <= y && y < bottom;
    }

    /**
     * Makes what two rectangles have in common.
     *
     * @param other the other one
     * @return the rectangle; 0, 0, 0, 0 for nothing
     */
    public Rect intersect(Rect other) {
        return changed(edges -> Native.rectIntersect(edges, other.edges()));
    }

    /**
     * Makes the smallest rectangle around both; empty ones count for nothing.
     *
     * @param other the other one
     * @return the rectangle
     */
    public Rect union(Rect other) {
        return changed(edges -> Native.rectUnion(edges, other.edges()));
    }

    /**
     * Moves the edges outwards, or inwards by negative numbers.
     *
     * @param x how far left and right move
     * @param y how far top and bottom move
     * @return the rectangle
     */
    public Rect inflate(int x, int y) {
        return changed(edges -> Native.rectInflate(edges, x, y));
    }

    /**
     * Moves the rectangle.
     *
     * @param x to the right
     * @param y downwards
     * @return the rectangle
     */
    public Rect offset(int x, int y) {
        return changed(edges -> Native.rectOffset(edges, x, y));
    }

    /** {@return the same rectangle in doubles} */
    public RectD toRectD() {
        return new RectD(left, top, right, bottom);
    }
}
