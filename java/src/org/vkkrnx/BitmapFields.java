package org.vkkrnx;

import java.lang.ref.Reference;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.function.IntSupplier;

/**
 * A record of the library and its fields, read and written by their positions in one direct buffer.
 *
 * <p>The record's memory stays until nobody has the object any more, so that fields can be read at any time, also while
 * an operation of another thread runs. They are written with the guard held. Those that lead to memory, and those that
 * say how large it is, cannot be written.
 */
abstract class BitmapFields extends Guarded {
    private static final int SIZE = 284;
    static final int DATA = 12;
    static final int BITS_PER_PIXEL = 28;
    private static final int FLAGS = 48;
    private static final int SIZE_OF_DATA = 252;

    /** The record's address. */
    final long address;

    private final ByteBuffer record;
    private final Resources resources;

    /** What goes when nobody has the object any more. */
    private static final class Resources implements Runnable {
        private final long record;
        private long bytes = NativeMemory.OVERHEAD;

        Resources(long record) {
            this.record = record;
            NativeMemory.changed(bytes);
        }

        void hold(long pixels) {
            long now = pixels + NativeMemory.OVERHEAD;
            if (now != bytes) {
                NativeMemory.changed(now - bytes);
                bytes = now;
            }
        }

        @Override
        public void run() {
            Native.freeBitmap(record);
            Native.freeRecord(record);
            NativeMemory.changed(-bytes);
        }
    }

    BitmapFields() {
        NativeMemory.expect();
        address = Native.newRecord();
        if (address == 0) {
            throw new VkException(Constants.ERROR_NO_MEMORY);
        }
        resources = new Resources(address);
        NativeMemory.CLEANER.register(this, resources);
        record = Native.view(address, SIZE).order(ByteOrder.nativeOrder());
    }

    @Override
    void free() {
        Native.freeBitmap(address);
        refresh();
    }

    /** Takes note of what an operation has changed. Called with the guard held. */
    @Override
    void refresh() {
        resources.hold(pixelBytes());
    }

    /** Bytes of memory that the pixels take and the object owns. */
    final long pixelBytes() {
        int foreign = Constants.BITMAPFLAG_MIRROR | Constants.BITMAPFLAG_DISKMEMORY;
        return (record.getInt(FLAGS) & foreign) != 0 ? 0 : record.getLong(SIZE_OF_DATA);
    }

    /** Runs an operation on this object and others with the thread's status callback, for its code. */
    final int code(IntSupplier operation, Guarded... others) {
        if (others.length != 0) {
            return codeOfAll(operation, enterAll(this, others));
        }
        enter();
        try {
            return StatusCalls.watched(operation);
        } finally {
            refresh();
            leave();
        }
    }

    private static int codeOfAll(IntSupplier operation, Guarded[] held) {
        try {
            return StatusCalls.watched(operation);
        } finally {
            for (Guarded each : held) {
                each.refresh();
            }
            leaveAll(held);
        }
    }

    /** Runs an operation; throws unless it went well. */
    final void run(IntSupplier operation, Guarded... others) {
        VkException.check(code(operation, others));
    }

    final int intAt(int position) {
        requireOpen();
        try {
            return record.getInt(position);
        } finally {
            Reference.reachabilityFence(this);
        }
    }

    final long longAt(int position) {
        requireOpen();
        try {
            return record.getLong(position);
        } finally {
            Reference.reachabilityFence(this);
        }
    }

    private void set(int position, int value) {
        enter();
        try {
            record.putInt(position, value);
        } finally {
            leave();
        }
    }

    /** {@return the pixels of a row} */
    public final int width() {
        return intAt(20);
    }

    /** {@return the number of rows} */
    public final int height() {
        return intAt(24);
    }

    /** {@return the depth: 1 to 8, 12, 16, 24, 32, 48 or 64; 0 for an empty bitmap} */
    public final int bitsPerPixel() {
        return intAt(BITS_PER_PIXEL);
    }

    /** {@return the bytes from one stored row to the next} */
    public final int bytesPerLine() {
        return intAt(32);
    }

    /** {@return {@code BITMAPFLAG_} bits} */
    public final int flags() {
        return intAt(FLAGS);
    }

    /** {@return the entries of the palette in use} */
    public final int colors() {
        return intAt(52);
    }

    /** {@return how stored rows are shown, 1 to 8: {@link Constants#TOP_LEFT} is as they are} */
    public final int viewPerspective() {
        return intAt(64);
    }

    /** {@return a {@code COLORORDER_} value} */
    public final int order() {
        return intAt(68);
    }

    /** {@return the bytes of pixel data} */
    public final long size() {
        return longAt(SIZE_OF_DATA);
    }

    /** {@return the {@code DITHER_} method of reductions of this bitmap} */
    public final int ditheringMethod() {
        return intAt(88);
    }

    /**
     * Sets the method of reductions of this bitmap.
     *
     * @param method a {@code DITHER_} value
     */
    public final void setDitheringMethod(int method) {
        require(method >= Constants.DITHER_NONE && method <= Constants.DITHER_CLUSTERED);
        set(88, method);
    }

    /** {@return dots per inch along a row} */
    public final int xResolution() {
        return intAt(100);
    }

    /** {@return dots per inch along a column} */
    public final int yResolution() {
        return intAt(104);
    }

    /**
     * Sets dots per inch.
     *
     * @param x along a row
     * @param y along a column
     */
    public final void setResolution(int x, int y) {
        set(100, x);
        set(104, y);
    }

    /** {@return where the picture lies as a frame of an animation} */
    public final Point framePlace() {
        return new Point(intAt(108), intAt(112));
    }

    /**
     * Says how the picture is a frame of an animation.
     *
     * @param place where it lies
     * @param delay how long it is shown
     * @param disposalMethod what happens to it then
     */
    public final void setFrame(Point place, int delay, int disposalMethod) {
        set(108, place.x());
        set(112, place.y());
        set(116, delay);
        set(128, disposalMethod);
    }

    /** {@return how long the frame is shown} */
    public final int delay() {
        return intAt(116);
    }

    /** {@return what happens to the frame after its delay} */
    public final int disposalMethod() {
        return intAt(128);
    }

    /** {@return the background of the animation} */
    public final Color background() {
        return new Color(intAt(120));
    }

    /**
     * Sets the background of the animation.
     *
     * @param color the colour
     */
    public final void setBackground(Color color) {
        set(120, color.value());
    }

    /** {@return the transparent colour, or null for none} */
    public final Color transparency() {
        return (flags() & Constants.BITMAPFLAG_TRANSPARENCY) == 0 ? null : new Color(intAt(124));
    }

    /**
     * Sets the transparent colour.
     *
     * @param color a colour or an index, or null for none
     */
    public final void setTransparency(Color color) {
        enter();
        try {
            int others = record.getInt(FLAGS) & ~Constants.BITMAPFLAG_TRANSPARENCY;
            record.putInt(124, color == null ? 0 : color.value());
            record.putInt(FLAGS, color == null ? others : others | Constants.BITMAPFLAG_TRANSPARENCY);
        } finally {
            leave();
        }
    }

    /** {@return the lowest significant bit of a gray sample} */
    public final int lowBit() {
        return intAt(132);
    }

    /** {@return the highest significant bit of a gray sample; -1: the sample's highest} */
    public final int highBit() {
        return intAt(136);
    }

    /**
     * Sets the bits of a gray sample that count.
     *
     * @param low the lowest
     * @param high the highest
     */
    public final void setGrayRange(int low, int high) {
        require(low >= 0 && low <= high && high < Math.min(bitsPerPixel(), 32));
        set(132, low);
        set(136, high);
    }

    /** {@return the smallest gray sample, as {@link BitmapOperations#findMinMax} found it} */
    public final int minVal() {
        return intAt(160);
    }

    /** {@return the largest gray sample, as {@link BitmapOperations#findMinMax} found it} */
    public final int maxVal() {
        return intAt(164);
    }

    /** {@return the file format that the picture came from, 0 for none} */
    public final int originalFormat() {
        return intAt(204);
    }

    /**
     * Says which file format the picture came from.
     *
     * @param format a number of the application's
     */
    public final void setOriginalFormat(int format) {
        set(204, format);
    }

    static void require(boolean condition) {
        if (!condition) {
            throw new VkException(Constants.ERROR_INVALID_PARAMETER);
        }
    }
}
