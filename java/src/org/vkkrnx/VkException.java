package org.vkkrnx;

/** A call that the library refused, or that failed: a result code and its text. */
public final class VkException extends RuntimeException {
    private static final long serialVersionUID = 1;

    /** The result code. */
    private final int code;

    /**
     * Makes the exception for a code.
     *
     * @param code a result code
     */
    public VkException(int code) {
        super(Native.text(code));
        this.code = code;
    }

    VkException(int code, String text) {
        super(text);
        this.code = code;
    }

    /**
     * The result code.
     *
     * @return one of the {@code ERROR_} constants, or {@link Constants#FAILURE}
     */
    public int code() {
        return code;
    }

    /** Throws unless a call went well. */
    static void check(int code) {
        if (code != Constants.SUCCESS) {
            throw new VkException(code);
        }
    }

    /** The number that a call gave, which is no code; throws for the negative ones, which are. */
    static long checkNumber(long number) {
        if (number < 0) {
            throw new VkException((int) number);
        }
        return number;
    }
}
