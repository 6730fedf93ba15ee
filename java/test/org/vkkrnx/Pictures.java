package org.vkkrnx;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import org.junit.jupiter.api.function.Executable;

/** Small pictures of known pixels, and what tests ask of them. */
final class Pictures {
    private Pictures() {}

    /** A gray bitmap of 8 bits. */
    static Bitmap gray(int width, int... levels) {
        Bitmap made = Bitmap.createGray(width, levels.length / width, 8);
        for (int i = 0; i < levels.length; ++i) {
            made.setPixelData(i / width, i % width, levels[i]);
        }
        return made;
    }

    static int[] levels(Bitmap bitmap) {
        int[] all = new int[bitmap.width() * bitmap.height()];
        for (int i = 0; i < all.length; ++i) {
            all[i] = (int) bitmap.pixelData(i / bitmap.width(), i % bitmap.width());
        }
        return all;
    }

    static void assertCode(int code, Executable call) {
        assertEquals(code, assertThrows(VkException.class, call).code());
    }
}
