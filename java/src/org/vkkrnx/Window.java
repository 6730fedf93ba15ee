package org.vkkrnx;

/**
 * A window on gray samples: which are shown from black to white.
 *
 * @param function a {@code WINDOW_} value
 * @param flags {@code WINDOWFLAG_} bits
 * @param center the sample in the middle
 * @param width the samples from black to white
 */
public record Window(int function, int flags, double center, double width) {
    /**
     * Makes a linear window.
     *
     * @param center the sample in the middle
     * @param width the samples from black to white, at least 1
     */
    public Window(double center, double width) {
        this(Constants.WINDOW_LINEAR, 0, center, width);
    }
}
