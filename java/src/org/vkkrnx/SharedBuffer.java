package org.vkkrnx;

import java.awt.image.DataBuffer;
import java.nio.ByteBuffer;
import java.nio.ShortBuffer;

/** The pixels of a bitmap as the data of an image: elements of 8 or 16 bits without sign. */
final class SharedBuffer extends DataBuffer {
    private final ByteBuffer bytes;
    private final ShortBuffer shorts; // null for elements of 8 bits
    private final Form form;

    /** What the pixels are, for the way back. */
    record Form(int width, int height, int depth, int order, Palette palette) {}

    SharedBuffer(ByteBuffer pixels, boolean isWide, Form form) {
        super(isWide ? TYPE_USHORT : TYPE_BYTE, isWide ? pixels.capacity() / 2 : pixels.capacity());
        bytes = pixels;
        shorts = isWide ? pixels.asShortBuffer() : null;
        this.form = form;
    }

    ByteBuffer bytes() {
        return bytes;
    }

    Form form() {
        return form;
    }

    @Override
    public int getElem(int bank, int i) {
        return shorts == null ? bytes.get(i) & 0xFF : shorts.get(i) & 0xFFFF;
    }

    @Override
    public void setElem(int bank, int i, int value) {
        if (shorts == null) {
            bytes.put(i, (byte) value);
        } else {
            shorts.put(i, (short) value);
        }
    }
}
