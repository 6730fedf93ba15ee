package org.vkkrnx;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.ReadOnlyBufferException;

/**
 * Rows and pixels.
 *
 * <p>Pixels in plain memory can be looked at where they are. The storage is then split off the record: it belongs to
 * the buffers that show it and is freed when nobody has these any more, whatever becomes of the bitmap.
 */
abstract class BitmapRows extends BitmapFields {
    private ByteBuffer pixels; // what holds the pixels that the record borrows, or null
    private long pixelsAt;
    private ByteBuffer window; // on the record's own or borrowed pixels; for this class alone, with the guard held
    private long windowAt;

    private record Owner(long record, long bytes) implements Runnable {
        @Override
        public void run() {
            Native.freeOwner(record);
            NativeMemory.changed(-bytes);
        }
    }

    /** Says that the record borrows pixels that live as long as a buffer. */
    final void borrow(ByteBuffer holder) {
        pixels = holder;
        pixelsAt = longAt(DATA);
    }

    @Override
    void refresh() {
        super.refresh();
        if (pixels != null && (isClosed() || longAt(DATA) != pixelsAt)) {
            pixels = null; // there are others now, or none
        }
    }

    /**
     * Tells whether {@link #pixels} can show this bitmap: its pixels are in plain memory, and less than 2 GiB.
     *
     * @return whether it can
     */
    public final boolean hasPixels() {
        int kinds = Constants.BITMAPFLAG_ALLOCATED | Constants.BITMAPFLAG_CONVENTIONALMEMORY
                | Constants.BITMAPFLAG_DISKMEMORY | Constants.BITMAPFLAG_COMPRESSED | Constants.BITMAPFLAG_TILED
                | Constants.BITMAPFLAG_SUPERCOMPRESSED;
        int plain = Constants.BITMAPFLAG_ALLOCATED | Constants.BITMAPFLAG_CONVENTIONALMEMORY;
        return (flags() & kinds) == plain && size() <= Integer.MAX_VALUE;
    }

    /**
     * Gives all stored rows where they are, without copying: {@link #bytesPerLine} bytes apart, in the system's byte
     * order. What is written to the buffer is in the bitmap. Operations that work in place change what the buffer
     * shows; those that give the bitmap other storage (another size or depth, for instance) leave the buffer with the
     * pixels from before. The buffer stays good when the bitmap is closed. It belongs to one thread at a time together
     * with the bitmap: reading and writing here is not guarded.
     *
     * @return the rows; {@link #changeHeight} and {@link #changeStorage} may refuse bitmaps that were looked at
     * @throws VkException {@link Constants#ERROR_FEATURE_NOT_SUPPORTED}: not {@link #hasPixels}
     */
    public final ByteBuffer pixels() {
        enter();
        try {
            if (pixels == null) {
                pixels = split();
                pixelsAt = longAt(DATA);
            }
            return pixels.duplicate().order(ByteOrder.nativeOrder());
        } finally {
            refresh();
            leave();
        }
    }

    private ByteBuffer split() {
        if (!hasPixels() || (flags() & Constants.BITMAPFLAG_MIRROR) != 0) {
            throw new VkException(Constants.ERROR_FEATURE_NOT_SUPPORTED);
        }
        long bytes = Integer.toUnsignedLong(bytesPerLine()) * height();
        long owner = Native.newRecord();
        int code = owner == 0 ? Constants.ERROR_NO_MEMORY : Native.split(address, owner);
        if (code != Constants.SUCCESS) {
            Native.freeRecord(owner);
            throw new VkException(code);
        }
        Object holder = this; // unless there is a buffer
        try {
            ByteBuffer made = Native.view(longAt(DATA), bytes);
            holder = made;
            return made;
        } finally {
            NativeMemory.changed(bytes);
            NativeMemory.CLEANER.register(holder, new Owner(owner, bytes));
        }
    }

    /**
     * Gives a row: where it is when {@link #hasPixels}, as {@link #pixels} does, otherwise a copy that is read only.
     *
     * @param row the row, 0 being the first stored one
     * @return its {@link #bytesPerLine} bytes
     */
    public final ByteBuffer row(int row) {
        require(row >= 0 && row < height());
        int bytes = bytesPerLine();
        if (hasPixels()) {
            ByteBuffer all = pixels();
            require((row + 1L) * bytes <= all.capacity()); // another thread may have changed the bitmap
            return all.slice(row * bytes, bytes).order(ByteOrder.nativeOrder());
        }
        byte[] copy = new byte[bytes];
        getRow(row, copy);
        return ByteBuffer.wrap(copy).asReadOnlyBuffer().order(ByteOrder.nativeOrder());
    }

    /** The pixels, to be copied without a call of the native side while the guard is held; null for other storage. */
    private ByteBuffer window() {
        long at = longAt(DATA);
        long bytes = size();
        if (window == null || windowAt != at || window.capacity() != bytes) {
            boolean isFixed = hasPixels() && (flags() & Constants.BITMAPFLAG_GLOBAL) == 0 && at != 0;
            window = isFixed ? Native.view(at, bytes) : null;
            windowAt = at;
        }
        return window;
    }

    /** Where bytes begin in a window. */
    private int positionOf(int row, int col, int bytes) {
        long column = (long) col * bitsPerPixel() >> 3;
        long position = Integer.toUnsignedLong(bytesPerLine()) * row + column;
        require(row >= 0 && position + bytes <= window.capacity() || bytes == 0);
        return bytes == 0 ? 0 : (int) position;
    }

    /**
     * Copies bytes of stored rows into an array, as many as it has. They may run on into the following rows.
     *
     * @param row first row
     * @param to receives the bytes
     * @throws VkException {@link Constants#ERROR_INVALID_PARAMETER}: bytes outside of the bitmap
     */
    public final void getRow(int row, byte[] to) {
        enter();
        try {
            ByteBuffer plain = window();
            if (plain != null) {
                plain.get(positionOf(row, 0, to.length), to);
            } else {
                VkException.checkNumber(Native.getRow(address, row, 0, to, 0, to.length));
            }
        } finally {
            leave();
        }
    }

    /**
     * Copies an array into stored rows, all of it.
     *
     * @param row first row
     * @param from the bytes
     * @throws VkException {@link Constants#ERROR_INVALID_PARAMETER}: bytes outside of the bitmap
     */
    public final void putRow(int row, byte[] from) {
        enter();
        try {
            ByteBuffer plain = window();
            if (plain != null) {
                plain.put(positionOf(row, 0, from.length), from);
            } else {
                VkException.checkNumber(Native.putRow(address, row, 0, from, 0, from.length));
            }
        } finally {
            leave();
        }
    }

    /**
     * Copies bytes of stored rows into a buffer, from the byte that holds a pixel on, as many as the buffer has room
     * for. They may run on into the following rows. The buffer's position moves behind them.
     *
     * @param row first row
     * @param col its first pixel, 0 to the width
     * @param to receives the bytes; direct or not
     */
    public final void getRow(int row, int col, ByteBuffer to) {
        int position = to.position(); // once: another thread may move it
        int bytes = Math.max(to.limit() - position, 0);
        if (to.isReadOnly()) {
            throw new ReadOnlyBufferException();
        }
        enter();
        try {
            require(col >= 0 && col <= width());
            ByteBuffer plain = window();
            if (plain != null) {
                to.put(position, plain, positionOf(row, col, bytes), bytes);
            } else if (to.isDirect()) {
                VkException.checkNumber(Native.getRowDirect(address, row, col, to, position, bytes));
            } else {
                int start = to.arrayOffset() + position;
                VkException.checkNumber(Native.getRow(address, row, col, to.array(), start, bytes));
            }
        } finally {
            leave();
        }
        to.position(position + bytes);
    }

    /**
     * Copies what a buffer has left into stored rows, from the byte that holds a pixel on. Its position moves to the
     * limit.
     *
     * @param row first row
     * @param col its first pixel, 0 to the width
     * @param from the bytes; direct or not, also read only
     */
    public final void putRow(int row, int col, ByteBuffer from) {
        int position = from.position();
        int bytes = Math.max(from.limit() - position, 0);
        enter();
        try {
            require(col >= 0 && col <= width());
            ByteBuffer plain = window();
            if (plain != null) {
                plain.put(positionOf(row, col, bytes), from, position, bytes);
            } else if (from.isDirect()) {
                VkException.checkNumber(Native.putRowDirect(address, row, col, from, position, bytes));
            } else {
                byte[] copy = new byte[bytes]; // of what may be read only
                from.get(position, copy);
                VkException.checkNumber(Native.putRow(address, row, col, copy, 0, bytes));
            }
        } finally {
            leave();
        }
        from.position(position + bytes);
    }

    /**
     * Reads a pixel as a colour.
     *
     * @param row its row
     * @param col its column
     * @return the colour; an index or a gray level is given as the colour it stands for
     * @throws VkException {@link Constants#ERROR_INVALID_PARAMETER}: outside of the bitmap, or 32-bit gray
     */
    public final Color pixel(int row, int col) {
        int[] color = new int[1];
        code(() -> color[0] = Native.getColor(address, row, col));
        require(color[0] != 0x80000000);
        return new Color(color[0]);
    }

    /**
     * Writes a pixel.
     *
     * @param row its row
     * @param col its column
     * @param color a colour, an index or a gray level; the palette's nearest entry where there is one
     */
    public final void setPixel(int row, int col, Color color) {
        int value = color.value();
        run(() -> Native.putColor(address, row, col, value));
    }

    /**
     * Reads the bytes that hold a pixel; below 8 bits they hold its neighbours, too.
     *
     * @param row its row
     * @param col its column
     * @return as many bytes as there are in 8, the first one in the lowest
     */
    public final long pixelData(int row, int col) {
        byte[] bytes = new byte[8];
        run(() -> Native.getPixel(address, row, col, bytes));
        return ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN).getLong();
    }

    /**
     * Writes the bytes that hold a pixel.
     *
     * @param row its row
     * @param col its column
     * @param data as {@link #pixelData} gives them
     */
    public final void setPixelData(int row, int col, long data) {
        byte[] bytes = ByteBuffer.allocate(8).order(ByteOrder.LITTLE_ENDIAN).putLong(data).array();
        run(() -> Native.putPixel(address, row, col, bytes));
    }

    /**
     * Changes the number of rows; those that fit stay, new ones are clear.
     *
     * @param height the new number
     * @throws VkException {@link Constants#ERROR_INVALID_PARAMETER}: somebody may look at the {@link #pixels}
     */
    public final void changeHeight(int height) {
        run(() -> Native.changeHeight(address, height));
    }

    /**
     * Moves the pixels to storage of another kind.
     *
     * @param memory {@link Constants#TYPE_CONV}, {@link Constants#TYPE_TILED}, {@link Constants#TYPE_DISK}, at 1 bit
     *     {@link Constants#TYPE_COMPRESSED}, at 1, 8 and 24 bits {@link Constants#TYPE_SUPERCOMPRESSED}
     */
    public final void changeStorage(int memory) {
        run(() -> Native.changeStorage(address, memory));
    }

    /** {@return where the pixels are: a {@code TYPE_} value, as for {@link #changeStorage}} */
    public final int storage() {
        int[] kind = new int[1];
        run(() -> Native.storage(address, kind));
        return kind[0];
    }
}
