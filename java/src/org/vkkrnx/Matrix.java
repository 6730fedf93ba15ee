package org.vkkrnx;

import java.util.Arrays;

/**
 * A projective map of the plane. Places are row vectors: (x, y) goes to ((x m00 + y m10 + m20) / w, (x m01 + y m11 +
 * m21) / w) with w = x m02 + y m12 + m22. Matrices do not change: operations make new ones. What is not finite, and what
 * cannot be done, is {@link Constants#ERROR_INVALID_PARAMETER}.
 */
public final class Matrix {
    /** The map that leaves every place where it is. */
    public static final Matrix IDENTITY = new Matrix(new double[] {1, 0, 0, 0, 1, 0, 0, 0, 1});

    private static final int ELEMENTS = 9;

    private final double[] elements;

    /** A change of elements by the library. */
    private interface Change {
        int apply(double[] elements);
    }

    private Matrix(double[] elements) {
        this.elements = elements;
    }

    /**
     * Makes a matrix of its elements.
     *
     * @param elements nine of them, row by row
     * @return the matrix
     */
    public static Matrix of(double... elements) {
        BitmapFields.require(elements.length == ELEMENTS);
        return new Matrix(elements.clone());
    }

    /**
     * Makes the map that takes four places to four others.
     *
     * @param from four places
     * @param to where they go
     * @return the matrix
     */
    public static Matrix ofCorners(PointD[] from, PointD[] to) {
        BitmapFields.require(from.length == 4 && to.length == 4);
        double[] made = new double[ELEMENTS];
        VkException.check(Native.matrixFromCorners(made, PointD.array(from), PointD.array(to)));
        return new Matrix(made);
    }

    private Matrix changed(Change change) {
        double[] made = elements.clone();
        VkException.check(change.apply(made));
        return new Matrix(made);
    }

    /** {@return the nine elements, row by row} */
    public double[] elements() {
        return elements.clone();
    }

    /**
     * Makes the map that does what this one does and then another.
     *
     * @param next the other one
     * @return the matrix
     */
    public Matrix then(Matrix next) {
        return changed(made -> Native.matrixMultiply(made, next.elements));
    }

    /** {@return the map back} */
    public Matrix invert() {
        return changed(Native::matrixInvert);
    }

    /** {@return the determinant} */
    public double determinant() {
        double[] value = new double[1];
        VkException.check(Native.matrixDeterminant(elements, value));
        return value[0];
    }

    /**
     * Adds a translation behind this map.
     *
     * @param x to the right
     * @param y downwards
     * @return the matrix
     */
    public Matrix translate(double x, double y) {
        return changed(made -> Native.matrixTranslate(made, x, y));
    }

    /**
     * Adds a scaling about the origin behind this map.
     *
     * @param x the factor of x
     * @param y the factor of y
     * @return the matrix
     */
    public Matrix scale(double x, double y) {
        return changed(made -> Native.matrixScale(made, x, y));
    }

    /**
     * Adds a shear about the origin behind this map.
     *
     * @param x how much of y is added to x
     * @param y how much of x is added to y
     * @return the matrix
     */
    public Matrix shear(double x, double y) {
        return changed(made -> Native.matrixShear(made, x, y));
    }

    /**
     * Adds a turn about the origin behind this map.
     *
     * @param angle hundredths of a degree, clockwise
     * @return the matrix
     */
    public Matrix rotate(int angle) {
        return changed(made -> Native.matrixRotate(made, angle));
    }

    /**
     * Carries a place over.
     *
     * @param place the place
     * @return where it goes
     */
    public PointD transform(PointD place) {
        double[] carried = PointD.array(place);
        VkException.check(Native.matrixPoint(elements, carried));
        return new PointD(carried[0], carried[1]);
    }

    /**
     * Makes the box around what becomes of a rectangle.
     *
     * @param rect the rectangle
     * @return the box
     */
    public RectD transform(RectD rect) {
        double[] edges = rect.edges();
        VkException.check(Native.matrixRect(elements, edges));
        return RectD.of(edges);
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Matrix matrix && Arrays.equals(elements, matrix.elements);
    }

    @Override
    public int hashCode() {
        return Arrays.hashCode(elements);
    }

    @Override
    public String toString() {
        return "Matrix" + Arrays.toString(elements);
    }
}
