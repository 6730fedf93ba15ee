package org.vkkrnx;

/**
 * Hears how far the operations of a thread have come.
 *
 * <p>Percentages of an operation begin at 0, grow, and end at 100. A callback may use other objects than those that the
 * operation is about, which answer with an {@link IllegalStateException}.
 */
@FunctionalInterface
public interface Status {
    /**
     * Takes a percentage. What is thrown here stops the operation and comes out of the call that began it.
     *
     * @param percent 0 to 100
     * @return whether to go on; otherwise the operation ends with {@link Constants#ERROR_USER_ABORT} and leaves its
     *     objects as its description says
     */
    boolean progress(int percent);

    /**
     * Sets the calling thread's callback.
     *
     * @param status the callback, or null for none
     * @return the one before, or null
     */
    static Status set(Status status) {
        return StatusCalls.set(status);
    }

    /**
     * The calling thread's callback.
     *
     * @return the callback, or null
     */
    static Status get() {
        return StatusCalls.get();
    }
}
