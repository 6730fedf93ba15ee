package org.vkkrnx;

/**
 * A pixel.
 *
 * @param x its column
 * @param y its row
 */
public record Point(int x, int y) {}
