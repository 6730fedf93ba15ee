package org.vkkrnx;

import java.awt.image.BufferedImage;
import java.nio.ByteBuffer;
import java.nio.ReadOnlyBufferException;

/**
 * A raster image.
 *
 * <p>{@link #close} gives the memory back at once; what nobody closed goes when it is collected. A bitmap may be used by
 * any thread, one at a time: others wait, except that fields can be read at any time.
 */
public final class Bitmap extends BitmapOperations {
    /** Makes what a new record is to hold. */
    interface Maker {
        int make(long made);
    }

    private Bitmap() {}

    /** Makes a bitmap from others. When memory is short, those that nobody uses any more are given back first. */
    static Bitmap make(Maker maker, Guarded... sources) {
        Bitmap made = new Bitmap();
        try {
            int code = made.code(() -> maker.make(made.address), sources);
            if (code == Constants.ERROR_NO_MEMORY) {
                NativeMemory.collect();
                code = made.code(() -> maker.make(made.address), sources);
            }
            VkException.check(code);
            return made;
        } catch (Throwable failure) {
            made.close();
            throw failure;
        }
    }

    /**
     * Makes a bitmap with clear pixels in storage of a kind.
     *
     * @param memory a sum of {@code TYPE_} bits without {@link Constants#TYPE_USER}, which is for {@link #wrap}
     * @param width pixels
     * @param height rows
     * @param depth bits per pixel; 0 means 8 with a gray palette
     * @param order a {@code COLORORDER_} value
     * @param palette its palette, or null for the fixed one
     * @return the bitmap
     */
    public static Bitmap create(int memory, int width, int height, int depth, int order, Palette palette) {
        require((memory & Constants.TYPE_USER) == 0);
        byte[] entries = Palette.entries(palette, 256);
        return make(made -> Native.create(made, memory, width, height, depth, order, entries, 0, 0, 0));
    }

    /**
     * Makes a bitmap with clear pixels, as most are: in memory while there is any, blue first, with the fixed palette.
     *
     * @param width pixels
     * @param height rows
     * @param depth bits per pixel
     * @return the bitmap
     */
    public static Bitmap create(int width, int height, int depth) {
        int order = depth == 12 ? Constants.COLORORDER_GRAY : Constants.COLORORDER_BGR;
        return create(Constants.TYPE_CONV, width, height, depth, order, null);
    }

    /**
     * Makes a gray bitmap with clear pixels.
     *
     * @param width pixels
     * @param height rows
     * @param depth 8, 12, 16 or 32
     * @return the bitmap
     */
    public static Bitmap createGray(int width, int height, int depth) {
        return create(Constants.TYPE_CONV, width, height, depth, Constants.COLORORDER_GRAY, null);
    }

    /**
     * Makes a bitmap of pixels in a direct buffer, from its position on. They are not copied: what is written to one is
     * in the other.
     *
     * @param pixels rows as the bitmap's {@link #bytesPerLine} says: of (width depth + 31) / 32 words of 32 bits
     * @param width pixels
     * @param height rows
     * @param depth bits per pixel
     * @param order a {@code COLORORDER_} value
     * @param palette its palette, or null for the fixed one
     * @return the bitmap
     * @throws VkException {@link Constants#ERROR_BUFFER_TOO_SMALL}; {@link Constants#ERROR_INVALID_PARAMETER}: the
     *     buffer is not direct
     */
    public static Bitmap wrap(ByteBuffer pixels, int width, int height, int depth, int order, Palette palette) {
        require(pixels.isDirect());
        if (pixels.isReadOnly()) {
            throw new ReadOnlyBufferException();
        }
        ByteBuffer holder = pixels.slice();
        byte[] entries = Palette.entries(palette, 256);
        int bits = depth == 0 ? 8 : depth;
        boolean isSize = width > 0 && height > 0 && bits > 0 && bits <= 64;
        if (isSize && ((long) width * bits + 31) / 32 * 4 > holder.capacity() / height) {
            throw new VkException(Constants.ERROR_BUFFER_TOO_SMALL);
        }
        long data = Native.address(holder);
        Bitmap made = make(result -> Native.create(result, Constants.TYPE_USER, width, height, depth, order, entries, 0,
                data, holder.capacity()));
        made.borrow(holder);
        return made;
    }

    /**
     * Makes a full copy, in storage of the same kind.
     *
     * @return the copy
     */
    public Bitmap copy() {
        return make(made -> Native.copy(made, address), this);
    }

    /**
     * Makes a copy of a part.
     *
     * @param rect the part
     * @return the copy, with nothing in it where the rectangle holds nothing of the bitmap
     */
    public Bitmap copy(Rect rect) {
        int width = clamp(rect.width());
        int height = clamp(rect.height());
        return make(made -> Native.copyRect(made, address, rect.left(), rect.top(), width, height), this);
    }

    /**
     * Makes a copy of another depth, order or palette.
     *
     * @param depth the new depth; 0 means 8 with a gray ramp
     * @param flags {@code COLORRES_} bits
     * @param palette the palette for {@link Constants#COLORRES_PALETTE_DEFAULT}; null for none
     * @return the copy
     */
    public Bitmap withColors(int depth, int flags, Palette palette) {
        byte[] entries = Palette.entries(palette, 0);
        return make(made -> Native.colorRes(made, address, depth, flags, entries, 0), this);
    }

    /**
     * Makes a gray bitmap of the alpha.
     *
     * @return the alpha: 8 bits of 32-bit pixels, 16 bits of 64-bit ones
     */
    public Bitmap alpha() {
        return make(made -> Native.alpha(made, address), this);
    }

    /**
     * Makes a bitmap as this gray one is shown through a window.
     *
     * @param window the window
     * @param depth 8 or 24
     * @return the bitmap
     */
    public Bitmap withWindow(Window window, int depth) {
        return make(made -> Native.window(made, address, window.function(), window.flags(), window.center(),
                window.width(), depth), this);
    }

    /**
     * Makes a bitmap of what a viewer shows of this one: upright, through look-up tables, with overlays.
     *
     * @param rect the stored pixels to show, or null for all
     * @param width of what is made; 0: that of the pixels
     * @param height of what is made; 0: that of the pixels
     * @param flags {@code RENDER_} bits
     * @return a bitmap of 24 bits, or 32 with {@link Constants#RENDER_32BITS}
     */
    public Bitmap render(Rect rect, int width, int height, int flags) {
        int[] edges = rect == null ? null : rect.edges();
        return make(made -> Native.render(made, address, edges, width, height, flags), this);
    }

    /** {@return the region} */
    public Region region() {
        return new Region(this);
    }

    /** {@return the overlays} */
    public Overlays overlays() {
        return new Overlays(this);
    }

    /**
     * Makes a bitmap from a packed device-independent one: a header, colours and rows.
     *
     * @param dib what the buffer has left; it may come from anywhere
     * @return the bitmap
     */
    public static Bitmap fromDib(ByteBuffer dib) {
        ByteBuffer block = direct(dib.slice());
        return make(made -> Native.fromDib(made, block, 0, block.capacity()));
    }

    /**
     * Makes a packed device-independent bitmap.
     *
     * @param type a {@code DIB_} value
     * @return a direct buffer with it
     * @throws VkException {@link Constants#ERROR_INVALID_IMAGE} for all failures that have no other code
     */
    public ByteBuffer toDib(int type) {
        long[] bytes = new long[1];
        long[] block = new long[1];
        code(() -> {
            block[0] = Native.toDib(address, type, bytes);
            return Constants.SUCCESS;
        });
        if (block[0] == 0) {
            throw new VkException(Constants.ERROR_INVALID_IMAGE);
        }
        return owned(block[0], bytes[0]);
    }

    private static ByteBuffer owned(long block, long bytes) {
        if (bytes > Integer.MAX_VALUE) {
            Native.freeMemory(block);
            throw new VkException(Constants.ERROR_MEMORY_TOO_LARGE);
        }
        ByteBuffer made = Native.view(block, bytes);
        NativeMemory.CLEANER.register(made, () -> {
            Native.freeMemory(block);
            NativeMemory.changed(-bytes);
        });
        NativeMemory.changed(bytes);
        return made.duplicate();
    }

    /**
     * Makes a bitmap from a YUV picture.
     *
     * @param picture what the buffer has left
     * @param form how it is laid out
     * @return the bitmap
     * @throws VkException {@link Constants#ERROR_BUFFER_TOO_SMALL}
     */
    public static Bitmap fromYuv(ByteBuffer picture, Yuv form) {
        int[] numbers = form.form();
        ByteBuffer block = direct(picture.slice());
        requireRoom(block, form);
        return make(made -> Native.fromYuv(made, block, 0, numbers));
    }

    /**
     * Makes a YUV picture.
     *
     * @param form how it is to be laid out; its size is the bitmap's as it is shown
     * @return a direct buffer with it
     */
    public ByteBuffer toYuv(Yuv form) {
        int[] numbers = form.form();
        long size = form.size();
        if (size > Integer.MAX_VALUE) {
            throw new VkException(Constants.ERROR_MEMORY_TOO_LARGE);
        }
        ByteBuffer made = ByteBuffer.allocateDirect((int) size);
        run(() -> Native.toYuv(address, made, 0, numbers));
        return made;
    }

    private static void requireRoom(ByteBuffer block, Yuv form) {
        if (block.capacity() < form.size()) {
            throw new VkException(Constants.ERROR_BUFFER_TOO_SMALL);
        }
    }

    /** A buffer whose bytes have an address: the same one, or a copy. */
    private static ByteBuffer direct(ByteBuffer from) {
        return from.isDirect() ? from : ByteBuffer.allocateDirect(from.remaining()).put(from).rewind();
    }

    /**
     * Makes a bitmap from an image. An image that {@link #shareImage} made, or one that shares its data as a whole, is
     * not copied: both have the same pixels. Of other images palettes, gray levels and 16-bit colours stay as they are;
     * others become 24 bits, or 32 with alpha.
     *
     * @param image the image
     * @return the bitmap
     */
    public static Bitmap fromImage(BufferedImage image) {
        return Images.toBitmap(image);
    }

    /**
     * Makes an image of what a viewer shows: a copy of the type {@link BufferedImage#TYPE_3BYTE_BGR}, or
     * {@link BufferedImage#TYPE_INT_ARGB} where there is alpha or a transparent colour.
     *
     * @return the image
     */
    public BufferedImage toImage() {
        return Images.copyOf(this);
    }

    /**
     * Makes an image of the {@link #pixels} where they are, without copying: what is drawn into it is in the bitmap.
     * Layouts that agree are 1, 2, 4 and 8 bits with a palette or gray, 16-bit colours and gray (all 16 bits), and 24,
     * 32, 48 and 64 bits of colours; the first stored row is the top one.
     *
     * @return the image, of the type {@link BufferedImage#TYPE_CUSTOM}; it has the palette of this moment
     * @throws VkException {@link Constants#ERROR_FEATURE_NOT_SUPPORTED}: another layout, or not {@link #hasPixels}
     */
    public BufferedImage shareImage() {
        return Images.share(this);
    }
}
