package org.vkkrnx;

/**
 * The form of a YUV picture in one block: planes one behind the other, rows from the top one on without gaps.
 *
 * @param code four characters, the first in the lowest byte
 * @param width pixels, at least 1
 * @param height rows, at least 1
 * @param matrix a {@code YUVMATRIX_} value
 * @param range a {@code YUVRANGE_} value
 * @param siting a {@code YUVSITING_} value
 */
public record Yuv(int code, int width, int height, int matrix, int range, int siting) {
    /**
     * Makes the form of a picture as video has it: BT.601, video range, chroma with the leftmost pixels.
     *
     * @param code four characters, such as "NV12"
     * @param width pixels
     * @param height rows
     */
    public Yuv(String code, int width, int height) {
        this(number(code), width, height, Constants.YUVMATRIX_601, Constants.YUVRANGE_VIDEO,
                Constants.YUVSITING_LEFT);
    }

    private static int number(String code) {
        BitmapFields.require(code.length() == 4);
        int number = 0;
        for (int i = 0; i < 4; ++i) {
            number |= (code.charAt(i) & 255) << 8 * i;
        }
        return number;
    }

    int[] form() {
        return new int[] {code, width, height, matrix, range, siting};
    }

    /**
     * Tells how large the block is.
     *
     * @return its bytes; 0 when there is no such picture
     */
    public long size() {
        return Native.yuvSize(form());
    }
}
