package org.vkkrnx;

import java.nio.charset.StandardCharsets;
import java.util.Arrays;

/** The overlays of a bitmap: sixteen slots for 1-bit pictures over it. */
public final class Overlays {
    private static final int LABEL_BYTES = 64;

    private final Bitmap bitmap;
    private final long address;

    /**
     * What is said of an overlay.
     *
     * @param isVisible whether it is shown
     * @param color what it is drawn in
     * @param origin where a picture is laid
     * @param bit the bit of gray samples that it is kept in, or {@link Constants#OVERLAY_NOBIT}
     * @param label a text of up to 63 bytes in UTF-8
     */
    public record Attributes(boolean isVisible, Color color, Point origin, int bit, String label) {}

    Overlays(Bitmap bitmap) {
        this.bitmap = bitmap;
        address = bitmap.address;
    }

    /**
     * Puts a copy of a picture into a slot.
     *
     * @param slot 0 to 15
     * @param picture a 1-bit bitmap
     */
    public void set(int slot, Bitmap picture) {
        bitmap.run(() -> Native.overlaySet(address, slot, picture.address), picture);
    }

    /**
     * Gives a copy of the picture of a slot.
     *
     * @param slot 0 to 15
     * @return a new bitmap
     */
    public Bitmap get(int slot) {
        return Bitmap.make(made -> Native.overlayGet(made, address, slot, 0), bitmap);
    }

    /**
     * Takes the picture out of a slot.
     *
     * @param slot 0 to 15
     * @return a new bitmap
     */
    public Bitmap take(int slot) {
        return Bitmap.make(made -> Native.overlayGet(made, address, slot, 1), bitmap);
    }

    /**
     * Empties a slot.
     *
     * @param slot 0 to 15
     */
    public void remove(int slot) {
        bitmap.run(() -> Native.overlayRemove(address, slot));
    }

    /**
     * Makes the picture of a slot from its bit of the gray samples.
     *
     * @param slot 0 to 15
     */
    public void loadBits(int slot) {
        bitmap.run(() -> Native.overlayBits(address, slot, false));
    }

    /**
     * Writes the picture of a slot into its bit of the gray samples.
     *
     * @param slot 0 to 15
     */
    public void storeBits(int slot) {
        bitmap.run(() -> Native.overlayBits(address, slot, true));
    }

    /**
     * Gives what is said of a slot.
     *
     * @param slot 0 to 15
     * @return what is said
     */
    public Attributes attributes(int slot) {
        int[] n = new int[5];
        byte[] label = new byte[LABEL_BYTES];
        bitmap.run(() -> Native.overlayAttributes(address, slot, n, label));
        int length = 0;
        while (length < LABEL_BYTES && label[length] != 0) {
            ++length;
        }
        return new Attributes((n[0] & Constants.OVERLAYFLAG_VISIBLE) != 0, new Color(n[1]), new Point(n[2], n[3]), n[4],
                new String(label, 0, length, StandardCharsets.UTF_8));
    }

    /**
     * Says something of a slot.
     *
     * @param slot 0 to 15
     * @param attributes what is said
     */
    public void setAttributes(int slot, Attributes attributes) {
        byte[] text = attributes.label().getBytes(StandardCharsets.UTF_8);
        BitmapFields.require(text.length < LABEL_BYTES);
        byte[] label = Arrays.copyOf(text, LABEL_BYTES);
        int[] n = {attributes.isVisible() ? Constants.OVERLAYFLAG_VISIBLE : 0, attributes.color().value(),
            attributes.origin().x(), attributes.origin().y(), attributes.bit()};
        bitmap.run(() -> Native.setOverlayAttributes(address, slot, n, label));
    }
}
