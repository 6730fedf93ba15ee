package org.vkkrnx;

/**
 * A place.
 *
 * @param x to the right
 * @param y downwards
 */
public record PointD(double x, double y) {
    /** The coordinates of places, x and y in turn. */
    static double[] array(PointD... places) {
        double[] all = new double[2 * places.length];
        for (int i = 0; i < places.length; ++i) {
            all[2 * i] = places[i].x;
            all[2 * i + 1] = places[i].y;
        }
        return all;
    }
}
