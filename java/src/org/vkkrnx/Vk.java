package org.vkkrnx;

/** The library as a whole, and what the calling thread has set. A thread that has set nothing follows the process. */
public final class Vk {
    private Vk() {}

    /** {@return the version times 10000, 100 and 1: 10203 is 1.2.3} */
    public static int version() {
        return Native.version();
    }

    /** {@return the calling thread's default memory type} */
    public static int defaultMemoryType() {
        return Native.defaultMemoryType();
    }

    /**
     * Sets the calling thread's default memory type.
     *
     * @param memory {@link Constants#TYPE_CONV} or {@link Constants#TYPE_DISK}
     */
    public static void setDefaultMemoryType(int memory) {
        VkException.check(Native.setDefaultMemoryType(memory));
    }

    /** {@return the dithering method of the calling thread's new bitmaps} */
    public static int defaultDithering() {
        return Native.defaultDithering();
    }

    /**
     * Sets the dithering method of the calling thread's new bitmaps.
     *
     * @param method a {@code DITHER_} value
     */
    public static void setDefaultDithering(int method) {
        VkException.check(Native.setDefaultDithering(method));
    }

    /** {@return how many threads one operation of the calling thread may use} */
    public static int workers() {
        return Native.workers();
    }

    /**
     * Sets how many threads one operation of the calling thread may use. Results do not depend on it.
     *
     * @param workers 1: the calling thread alone; 0: as many as there are processors
     */
    public static void setWorkers(int workers) {
        VkException.check(Native.setWorkers(workers));
    }

    /** Forgets what the calling thread has set. */
    public static void freeThreadState() {
        VkException.check(Native.freeThreadState());
    }

    /** {@return the most that the stock of freed memory may hold, in bytes} */
    public static long memoryStock() {
        return Native.memoryStock();
    }

    /**
     * Bounds the stock of freed memory of the process.
     *
     * @param bytes the bound; -1: the library's own figure
     */
    public static void setMemoryStock(long bytes) {
        VkException.check(Native.setMemoryStock(bytes));
    }

    /** Gives the stock of freed memory back to the system. */
    public static void trimMemory() {
        VkException.check(Native.trimMemory());
    }

    /** {@return bytes of native memory that objects hold, about} */
    public static long heldMemory() {
        return NativeMemory.held();
    }
}
