package org.vkkrnx;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.vkkrnx.Pictures.assertCode;
import static org.vkkrnx.Pictures.gray;
import static org.vkkrnx.Pictures.levels;

import java.awt.image.BufferedImage;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.ReadOnlyBufferException;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** Rows, buffers, images, other forms, lists. */
class ExchangeTest {
    private static final int[] STORAGES = {Constants.TYPE_CONV, Constants.TYPE_TILED, Constants.TYPE_DISK,
        Constants.TYPE_SUPERCOMPRESSED};

    @Test
    void rowsOfEveryStorage() {
        byte[] row = {1, 2, 3, 4, 5, 6, 7, 8};
        for (int storage : STORAGES) {
            try (Bitmap bitmap = Bitmap.createGray(8, 3, 8)) {
                bitmap.changeStorage(storage);
                assertEquals(storage, bitmap.storage());
                bitmap.putRow(1, row);
                bitmap.putRow(2, 6, ByteBuffer.wrap(row, 3, 2).asReadOnlyBuffer());
                ByteBuffer direct = ByteBuffer.allocateDirect(20).position(2).limit(12);
                bitmap.getRow(1, 4, direct);
                assertEquals(12, direct.position());
                assertEquals(5, direct.get(2));
                assertEquals(0, direct.get(6));
                byte[] heap = new byte[16];
                bitmap.getRow(1, heap);
                assertArrayEquals(row, java.util.Arrays.copyOf(heap, 8));
                assertEquals(5, heap[15]);
                assertEquals(7, bitmap.row(1).get(6));
                assertEquals(storage != Constants.TYPE_CONV, bitmap.row(1).isReadOnly());
                assertEquals(storage == Constants.TYPE_CONV, bitmap.hasPixels());
            }
        }
    }

    /** Plain memory is copied without a call, a block that can be moved by one: with the same results everywhere. */
    @Test
    void bothWaysOfMovingRows() {
        for (int depth : new int[] {4, 24}) {
            try (Bitmap made = Bitmap.create(3, 2, depth); Bitmap block = Bitmap.fromDib(made.toDib(0));
                    Bitmap plain = block.copy()) {
                assertTrue((block.flags() & Constants.BITMAPFLAG_GLOBAL) != 0);
                assertEquals(0, plain.flags() & Constants.BITMAPFLAG_GLOBAL);
                int size = (int) plain.size();
                for (int i = 0; i < 500; ++i) {
                    int row = i % 5 - 1;
                    int col = i / 5 % 10 - 5;
                    int bytes = i * 7 % (size + 2);
                    byte[] data = new byte[bytes];
                    java.util.Arrays.fill(data, (byte) i);
                    boolean put = isDone(() -> plain.putRow(row, col, ByteBuffer.wrap(data)));
                    assertEquals(put, isDone(() -> block.putRow(row, col, ByteBuffer.wrap(data).asReadOnlyBuffer())));
                    ByteBuffer one = ByteBuffer.allocate(bytes);
                    ByteBuffer two = ByteBuffer.allocateDirect(bytes);
                    assertEquals(isDone(() -> plain.getRow(row, col, one)), isDone(() -> block.getRow(row, col, two)));
                    assertEquals(one.rewind(), two.rewind());
                }
                byte[] all = new byte[size];
                byte[] same = new byte[size];
                plain.getRow(0, all);
                block.getRow(0, same);
                assertArrayEquals(all, same);
            }
        }
    }

    private static boolean isDone(Runnable transfer) {
        try {
            transfer.run();
            return true;
        } catch (VkException e) {
            assertEquals(Constants.ERROR_INVALID_PARAMETER, e.code());
            return false;
        }
    }

    @Test
    void buffersThatDoNotFit() {
        try (Bitmap bitmap = Bitmap.createGray(8, 2, 8)) {
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> bitmap.getRow(0, new byte[17]));
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> bitmap.putRow(2, new byte[1]));
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> bitmap.getRow(-1, 0, ByteBuffer.allocateDirect(1)));
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> bitmap.row(2));
            bitmap.getRow(0, new byte[0]);
            ByteBuffer readOnly = ByteBuffer.allocate(8).asReadOnlyBuffer();
            assertThrows(ReadOnlyBufferException.class, () -> bitmap.getRow(0, 0, readOnly));
            bitmap.changeStorage(Constants.TYPE_DISK);
            assertCode(Constants.ERROR_FEATURE_NOT_SUPPORTED, bitmap::pixels);
        }
        ByteBuffer small = ByteBuffer.allocateDirect(15);
        assertCode(Constants.ERROR_BUFFER_TOO_SMALL, () -> Bitmap.wrap(small, 8, 2, 8, Constants.COLORORDER_GRAY, null));
        assertCode(Constants.ERROR_BUFFER_TOO_SMALL,
                () -> Bitmap.wrap(small, 1 << 30, 1 << 30, 64, Constants.COLORORDER_BGR, null));
        assertCode(Constants.ERROR_INVALID_PARAMETER,
                () -> Bitmap.wrap(ByteBuffer.allocate(16), 8, 2, 8, Constants.COLORORDER_GRAY, null));
    }

    @Test
    void pixelsAreWhereTheyAre() {
        Bitmap bitmap = gray(4, 1, 2, 3, 4);
        bitmap.setResolution(71, 72);
        bitmap.region().rect(new Rect(0, 0, 2, 1), Constants.REGION_SET);
        ByteBuffer pixels = bitmap.pixels();
        pixels.put(3, (byte) 44);
        assertEquals(44, bitmap.pixelData(0, 3));
        bitmap.fill(Color.gray(9));
        assertArrayEquals(new byte[] {9, 9, 3, 44}, bytes(pixels));
        assertEquals(72, bitmap.yResolution());
        assertEquals(pixels, bitmap.pixels());

        bitmap.resize(2, 1, 0); // other storage from here on
        bitmap.pixels().put(0, (byte) 5);
        assertEquals(5, bitmap.pixelData(0, 0));
        assertEquals(9, pixels.get(0));
        bitmap.close();
        assertArrayEquals(new byte[] {9, 9, 3, 44}, bytes(pixels));
    }

    private static byte[] bytes(ByteBuffer buffer) {
        byte[] all = new byte[buffer.remaining()];
        buffer.duplicate().get(all);
        return all;
    }

    @Test
    void wrapsBuffers() {
        ByteBuffer memory = ByteBuffer.allocateDirect(9).position(1);
        try (Bitmap bitmap = Bitmap.wrap(memory, 3, 2, 8, Constants.COLORORDER_GRAY, null)) {
            bitmap.fill(Color.gray(8));
            assertArrayEquals(new byte[] {8, 8, 8, 0, 8, 8, 8, 0}, bytes(memory));
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> bitmap.changeHeight(3));
            bitmap.mirror();
            bitmap.changeStorage(Constants.TYPE_DISK);
            assertEquals(8, bitmap.pixelData(1, 2));
        }
    }

    /** What is drawn into a shared image is in the bitmap, and the other way round. */
    @ParameterizedTest
    @CsvSource({"1,1,FFFFFF", "2,1,FFFFFF", "4,1,FFFFFF", "8,1,FF0000", "8,2,FFFFFF", "16,0,FF0000", "16,1,FF0000",
        "16,7,FF0000", "24,0,FF8040", "24,1,FF8040", "32,0,FF8040", "32,1,FF8040", "48,1,FF8040", "64,0,FF8040"})
    void sharesImages(int depth, int order, String rgb) {
        int color = Integer.parseInt(rgb, 16);
        Color same = Color.rgb(color >> 16, color >> 8, color);
        try (Bitmap bitmap = Bitmap.create(Constants.TYPE_CONV, 3, 2, depth, order, null)) {
            BufferedImage image = bitmap.shareImage();
            image.setRGB(2, 1, 0xFF000000 | color);
            assertEquals(same, bitmap.pixel(1, 2));
            bitmap.setPixel(0, 1, same);
            assertEquals(0xFF000000 | color, image.getRGB(1, 0));
            try (Bitmap back = Bitmap.fromImage(image)) {
                back.setPixel(0, 0, same);
                assertEquals(same, bitmap.pixel(0, 0));
                assertEquals(depth, back.bitsPerPixel());
            }
            try (Bitmap part = Bitmap.fromImage(image.getSubimage(1, 0, 2, 2))) {
                assertEquals(same, part.pixel(1, 1));
                part.fill(Color.BLACK);
                assertEquals(same, bitmap.pixel(1, 2));
            }
        }
    }

    @Test
    void sharesWideGraySamplesAndRefusesOtherLayouts() {
        try (Bitmap deep = Bitmap.createGray(2, 1, 16); Bitmap odd = Bitmap.create(2, 1, 5);
                Bitmap turned = Bitmap.create(2, 1, 24); Bitmap narrow = Bitmap.createGray(2, 1, 12)) {
            deep.shareImage().getRaster().setSample(1, 0, 0, 54321);
            assertEquals(54321, deep.pixelData(0, 1));
            deep.setGrayRange(0, 9);
            turned.changeViewPerspective(Constants.BOTTOM_LEFT);
            for (Bitmap other : new Bitmap[] {deep, odd, turned, narrow}) {
                assertCode(Constants.ERROR_FEATURE_NOT_SUPPORTED, other::shareImage);
            }
        }
    }

    @ParameterizedTest
    @ValueSource(ints = {BufferedImage.TYPE_INT_RGB, BufferedImage.TYPE_INT_ARGB, BufferedImage.TYPE_INT_ARGB_PRE,
        BufferedImage.TYPE_INT_BGR, BufferedImage.TYPE_3BYTE_BGR, BufferedImage.TYPE_4BYTE_ABGR,
        BufferedImage.TYPE_USHORT_565_RGB, BufferedImage.TYPE_USHORT_555_RGB, BufferedImage.TYPE_BYTE_INDEXED,
        BufferedImage.TYPE_BYTE_BINARY, BufferedImage.TYPE_BYTE_GRAY, BufferedImage.TYPE_USHORT_GRAY})
    void copiesImages(int type) {
        BufferedImage image = new BufferedImage(5, 3, type);
        image.setRGB(4, 2, 0xFFFFFFFF);
        image.setRGB(1, 1, 0xFFFF0000);
        boolean isColor = image.getRGB(1, 1) == 0xFFFF0000;
        try (Bitmap bitmap = Bitmap.fromImage(image)) {
            assertEquals(Color.WHITE, bitmap.pixel(2, 4));
            assertEquals(isColor, bitmap.pixel(1, 1).equals(Color.rgb(255, 0, 0)));
            BufferedImage back = bitmap.toImage();
            assertEquals(image.getColorModel().hasAlpha(), back.getColorModel().hasAlpha());
            assertEquals(0xFFFFFFFF, back.getRGB(4, 2));
            assertEquals(image.getRGB(0, 0), back.getRGB(0, 0));
            assertEquals(isColor, back.getRGB(1, 1) == 0xFFFF0000);
        }
        try (Bitmap part = Bitmap.fromImage(image.getSubimage(2, 1, 3, 2))) {
            assertEquals(Color.WHITE, part.pixel(1, 2));
        }
    }

    @Test
    void deviceIndependentBitmaps() {
        try (Bitmap bitmap = Bitmap.create(3, 2, 24)) {
            bitmap.setPixel(0, 0, Color.rgb(1, 2, 3));
            ByteBuffer dib = bitmap.toDib(Constants.DIB_INFOHEADER).order(ByteOrder.LITTLE_ENDIAN);
            assertEquals(40 + 2 * 12, dib.remaining());
            assertEquals(40, dib.getInt(0));
            assertEquals(3, dib.get(40 + 12)); // the top row comes last, blue first
            ByteBuffer heap = ByteBuffer.allocate(dib.remaining()).put(dib.duplicate()).flip();
            for (ByteBuffer from : new ByteBuffer[] {dib, heap, heap.asReadOnlyBuffer()}) {
                try (Bitmap back = Bitmap.fromDib(from)) {
                    assertEquals(Color.rgb(1, 2, 3), back.pixel(back.viewPerspective() == 1 ? 0 : 1, 0));
                    assertEquals(3, back.pixels().get(back.viewPerspective() == 1 ? 0 : 12));
                    back.resize(6, 4, 0);
                }
            }
            for (int length = 0; length < heap.limit(); ++length) {
                ByteBuffer cut = heap.duplicate().limit(length);
                assertThrows(VkException.class, () -> Bitmap.fromDib(cut));
            }
        }
    }

    @Test
    void yuvPictures() {
        Yuv form = new Yuv("NV12", 2, 2);
        assertEquals(6, form.size());
        try (Bitmap white = Bitmap.create(2, 2, 24)) {
            white.fill(Color.WHITE);
            ByteBuffer picture = white.toYuv(form);
            assertArrayEquals(new byte[] {(byte) 235, (byte) 235, (byte) 235, (byte) 235, -128, -128}, bytes(picture));
            try (Bitmap back = Bitmap.fromYuv(picture, form)) {
                assertEquals(Color.WHITE, back.pixel(1, 1));
            }
            assertCode(Constants.ERROR_BUFFER_TOO_SMALL, () -> Bitmap.fromYuv(ByteBuffer.allocate(5), form));
            assertCode(Constants.ERROR_FEATURE_NOT_SUPPORTED, () -> white.toYuv(new Yuv("none", 2, 2)));
            assertCode(Constants.ERROR_FEATURE_NOT_SUPPORTED,
                    () -> Bitmap.fromYuv(ByteBuffer.allocate(0), new Yuv("none", 2, 2)));
            assertCode(Constants.ERROR_INVALID_WIDTH_HEIGHT, () -> white.toYuv(new Yuv("NV12", 2, -2)));
        }
    }

    @Test
    void lists() {
        try (BitmapList list = new BitmapList()) {
            for (int i = 0; i < 4; ++i) {
                Bitmap page = gray(1, 10 * i);
                if (i == 2) {
                    page.pixels(); // whose pixels are not its own from here on
                }
                list.add(page);
                assertTrue(page.isClosed());
            }
            list.add(0, gray(1, 99));
            assertEquals(5, list.size());
            try (Bitmap copy = list.get(3); Bitmap taken = list.remove(0)) {
                assertArrayEquals(new int[] {20}, levels(copy));
                assertArrayEquals(new int[] {99}, levels(taken));
            }
            list.set(1, gray(1, 77));
            try (BitmapList copies = list.copy(1, 9); BitmapList moved = list.move(0, 2); Bitmap page = moved.get(1)) {
                assertEquals(3, copies.size());
                assertArrayEquals(new int[] {77}, levels(page));
                assertEquals(3, copies.optimizedPalette(16, 0).size());
            }
            list.delete(0, 1);
            assertEquals(1, list.size());
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> list.get(1));
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> list.remove(-1));
            try (Bitmap page = gray(1, 1)) {
                assertCode(Constants.ERROR_INVALID_PARAMETER, () -> list.set(1, page));
                assertFalse(page.isClosed());
            }
        }
    }

    @Test
    void geometry() {
        Rect rect = new Rect(0, 0, 4, 3);
        assertEquals(new Rect(2, 1, 4, 3), rect.intersect(new Rect(2, 1, 9, 9)));
        assertEquals(new Rect(0, 0, 9, 9), rect.union(new Rect(2, 1, 9, 9)));
        assertEquals(new Rect(-1, -2, 5, 5), rect.inflate(1, 2));
        assertEquals(Integer.MAX_VALUE, rect.offset(Integer.MAX_VALUE, 0).right());
        assertTrue(rect.intersect(new Rect(4, 0, 9, 9)).isEmpty());
        assertEquals(new Rect(0, 0, 5, 3), new RectD(0.2, 0, 4.5, 3).toRect(Constants.RECTD_OUTER));
        assertEquals(new RectD(1, 1, 4, 3), rect.toRectD().intersect(new RectD(1, 1, 9, 9)));
        Matrix map = Matrix.IDENTITY.rotate(9000).translate(5, 1).scale(2, 2);
        assertEquals(new PointD(8, 4), map.transform(new PointD(1, 1)));
        assertEquals(new PointD(1, 1), map.then(map.invert()).transform(new PointD(1, 1)));
        assertEquals(4, map.determinant());
        assertEquals(new RectD(4, 2, 10, 10), map.transform(rect.toRectD()));
        PointD[] square = {new PointD(0, 0), new PointD(1, 0), new PointD(1, 1), new PointD(0, 1)};
        assertEquals(Matrix.IDENTITY, Matrix.ofCorners(square, square));
        assertCode(Constants.ERROR_INVALID_PARAMETER, () -> Matrix.of(1, 2));
        assertCode(Constants.ERROR_INVALID_PARAMETER, () -> Matrix.IDENTITY.scale(0, 1).invert());
        assertCode(Constants.ERROR_INVALID_PARAMETER, () -> Matrix.IDENTITY.scale(Double.NaN, 1));
        assertCode(Constants.ERROR_INVALID_PARAMETER, () -> new RectD(0, 0, Double.NaN, 1).toRect(0));
        assertEquals(Palette.of(Color.BLACK, Color.WHITE), Palette.fixed(1));
        assertEquals(200, Palette.gray(8).find(Color.rgb(200, 200, 200)));
    }
}
