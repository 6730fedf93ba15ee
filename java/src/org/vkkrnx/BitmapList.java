package org.vkkrnx;

/** A list of bitmaps, such as the pages of a document, which it owns. Indices count from 0. */
public final class BitmapList extends Guarded {
    private final long list;
    private final Items items;

    /** What goes when nobody has the list any more. Bytes are an estimate: shared by all items alike. */
    private static final class Items implements Runnable {
        private final long list;
        private boolean isFree;
        private long bytes;

        Items(long list) {
            this.list = list;
        }

        void hold(long now) {
            NativeMemory.changed(now - bytes);
            bytes = now;
        }

        @Override
        public synchronized void run() {
            if (!isFree) {
                isFree = true;
                Native.freeList(list);
                hold(0);
            }
        }
    }

    /** Makes an empty list. */
    public BitmapList() {
        this(Native.newList());
    }

    private BitmapList(long list) {
        if (list == 0) {
            throw new VkException(Constants.ERROR_NO_MEMORY);
        }
        this.list = list;
        items = new Items(list);
        NativeMemory.CLEANER.register(this, items);
    }

    @Override
    void free() {
        items.run();
    }

    /** {@return the number of items} */
    public int size() {
        enter();
        try {
            return Native.listCount(list);
        } finally {
            leave();
        }
    }

    /**
     * Puts a bitmap at the end; the list owns it then, and the object is closed.
     *
     * @param bitmap the bitmap
     */
    public void add(Bitmap bitmap) {
        add(-1, bitmap);
    }

    /**
     * Puts a bitmap into the list, which owns it then; the object is closed. Pixels that something looks at are copied.
     *
     * @param index its place; at or beyond the size means the end
     * @param bitmap the bitmap
     */
    public void add(int index, Bitmap bitmap) {
        give(bitmap, record -> Native.listInsert(list, index, record));
    }

    /**
     * Puts a bitmap in the place of another, which is freed; the list owns it then, and the object is closed.
     *
     * @param index the item
     * @param bitmap the bitmap
     */
    public void set(int index, Bitmap bitmap) {
        give(bitmap, record -> index >= 0 && index < Native.listCount(list) ? Native.listReplace(list, index, record)
                : Constants.ERROR_INVALID_PARAMETER);
    }

    private void give(Bitmap bitmap, Bitmap.Maker taker) {
        if (!take(bitmap, taker)) {
            try (Bitmap own = bitmap.copy()) {
                take(own, taker);
            }
        }
        bitmap.close();
    }

    /** False when the bitmap's pixels are not its own. */
    private boolean take(Bitmap bitmap, Bitmap.Maker taker) {
        Guarded[] held = enterAll(this, bitmap);
        try {
            if ((bitmap.flags() & Constants.BITMAPFLAG_MIRROR) != 0) {
                return false;
            }
            long bytes = bitmap.pixelBytes();
            VkException.check(taker.make(bitmap.address));
            items.hold(items.bytes + bytes);
            return true;
        } finally {
            bitmap.refresh();
            leaveAll(held);
        }
    }

    /**
     * Takes a bitmap out.
     *
     * @param index the item
     * @return the bitmap
     */
    public Bitmap remove(int index) {
        Bitmap taken = Bitmap.make(made -> Native.listRemove(list, index, made), this);
        lose(taken.pixelBytes());
        return taken;
    }

    /**
     * Gives a full copy of an item.
     *
     * @param index the item
     * @return a new bitmap
     */
    public Bitmap get(int index) {
        return Bitmap.make(made -> Native.listCopy(list, index, made), this);
    }

    /**
     * Removes items and frees their bitmaps.
     *
     * @param index the first
     * @param count how many; those past the end do not count
     */
    public void delete(int index, int count) {
        enter();
        try {
            long share = items.bytes / Math.max(Native.listCount(list), 1);
            VkException.check(Native.listDelete(list, index, count));
            items.hold(share * Native.listCount(list));
        } finally {
            leave();
        }
    }

    private void lose(long bytes) {
        enter();
        try {
            items.hold(Native.listCount(list) == 0 ? 0 : Math.max(items.bytes - bytes, 0));
        } finally {
            leave();
        }
    }

    /**
     * Makes a list of full copies of items.
     *
     * @param index the first
     * @param count how many; those past the end do not count
     * @return the new list
     */
    public BitmapList copy(int index, int count) {
        return part(index, count, false);
    }

    /**
     * Makes a list of items that are taken out of this one.
     *
     * @param index the first
     * @param count how many; those past the end do not count
     * @return the new list
     */
    public BitmapList move(int index, int count) {
        return part(index, count, true);
    }

    private BitmapList part(int index, int count, boolean isMoved) {
        NativeMemory.expect();
        long[] made = new long[1];
        enter();
        try {
            long share = items.bytes / Math.max(Native.listCount(list), 1);
            int code = StatusCalls.watched(() -> Native.listPart(list, index, count, isMoved, made));
            if (code != Constants.SUCCESS && made[0] != 0) {
                Native.freeList(made[0]);
            }
            VkException.check(code);
            BitmapList part = new BitmapList(made[0]);
            part.items.hold(share * Native.listCount(made[0]));
            items.hold(share * Native.listCount(list));
            return part;
        } finally {
            leave();
        }
    }

    /**
     * Makes one palette for all bitmaps.
     *
     * @param colors most entries to make, 2 to 256
     * @param flags {@code LISTPAL_} bits
     * @return the palette
     */
    public Palette optimizedPalette(int colors, int flags) {
        byte[] entries = Palette.room();
        int[] count = new int[1];
        enter();
        try {
            VkException.check(StatusCalls.watched(() -> Native.listPalette(list, entries, count, colors, flags)));
        } finally {
            leave();
        }
        return Palette.of(entries, count[0]);
    }
}
