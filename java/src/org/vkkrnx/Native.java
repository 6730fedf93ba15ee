package org.vkkrnx;

import java.nio.ByteBuffer;

/**
 * The native entry points. Callers hold the guards of the objects whose addresses they pass, and pass arrays and
 * buffers as large as agreed: nothing is checked on the other side. Results are result codes unless said otherwise.
 */
final class Native {
    static {
        load();
    }

    private Native() {}

    private static void load() {
        String file = System.getProperty("org.vkkrnx.library");
        if (file != null) {
            System.load(file);
            return;
        }
        if (System.getProperty("os.name", "").startsWith("Windows")) {
            System.loadLibrary("Vkkrnx"); // which is not looked for beside the one that needs it
        }
        System.loadLibrary("vkkrnx_java");
    }

    // Records: addresses of memory that stays until freeRecord.
    static native long newRecord();
    static native void freeRecord(long bitmap);
    static native ByteBuffer view(long address, long bytes);
    static native long address(ByteBuffer buffer);
    static native void freeBitmap(long bitmap);
    static native int create(long bitmap, int memory, int width, int height, int depth, int order, byte[] palette,
            int perspective, long data, long bytes);
    static native int copy(long made, long source);
    static native int copyRect(long made, long source, int col, int row, int width, int height);
    static native int copyData(long to, long from);
    static native int split(long bitmap, long owner);
    static native void freeOwner(long owner);
    static native int changeHeight(long bitmap, int height);
    static native int changeStorage(long bitmap, int memory);
    static native int storage(long bitmap, int[] kind);

    // Lists; newList gives 0 without memory.
    static native long newList();
    static native void freeList(long list);
    static native int listCount(long list);
    static native int listInsert(long list, int index, long bitmap);
    static native int listReplace(long list, int index, long bitmap);
    static native int listRemove(long list, int index, long bitmap);
    static native int listCopy(long list, int index, long made);
    static native int listDelete(long list, int index, int count);
    static native int listPart(long list, int index, int count, boolean isMoved, long[] made);
    static native int listPalette(long list, byte[] palette, int[] colors, int count, int flags);

    // Rows: bytes moved, or a code. Pixels: arrays of 8 bytes.
    static native long getRow(long bitmap, int row, int col, byte[] array, int offset, int bytes);
    static native long putRow(long bitmap, int row, int col, byte[] array, int offset, int bytes);
    static native long getRowDirect(long bitmap, int row, int col, ByteBuffer buffer, int offset, int bytes);
    static native long putRowDirect(long bitmap, int row, int col, ByteBuffer buffer, int offset, int bytes);
    static native int getColor(long bitmap, int row, int col);
    static native int putColor(long bitmap, int row, int col, int color);
    static native int getPixel(long bitmap, int row, int col, byte[] pixel);
    static native int putPixel(long bitmap, int row, int col, byte[] pixel);

    // The library and the thread. watch gives what unwatch needs, 0 without memory.
    static native long watch();
    static native void unwatch(long before);
    static native String text(int code);
    static native int version();
    static native int setDefaultMemoryType(int memory);
    static native int defaultMemoryType();
    static native int setDefaultDithering(int method);
    static native int defaultDithering();
    static native int setWorkers(int workers);
    static native int workers();
    static native int setMemoryStock(long bytes);
    static native long memoryStock();
    static native int trimMemory();
    static native int freeThreadState();

    // Sizes, places, pixels.
    static native int resize(long bitmap, int width, int height, int flags);
    static native int resizeInto(long source, long target, int flags);
    static native int resample(long bitmap, int width, int height, boolean isCubic);
    static native int resampleInto(long source, long target, boolean isCubic);
    static native int rotate(long bitmap, int angle, int flags, int fill);
    static native int rotate90(long bitmap, int direction);
    static native int shear(long bitmap, int angle, int flags, int fill);
    static native int flip(long bitmap);
    static native int reverse(long bitmap);
    static native int changePerspective(long bitmap, int perspective);
    static native int rectToBitmap(long bitmap, int perspective, int[] edges);
    static native int rectFromBitmap(long bitmap, int perspective, int[] edges);
    static native int warp(long bitmap, double[] matrix, int width, int height, int flags, int fill);
    static native int warpCorners(long bitmap, double[] corners, int width, int height, int flags, int fill);
    static native int warpGrid(long bitmap, double[] grid, int columns, int rows, int width, int height, int flags,
            int fill);
    static native int trim(long bitmap, int col, int row, int width, int height);
    static native int trimRect(long bitmap, int border, int tolerance, int[] edges);
    static native int extend(long bitmap, int left, int top, int right, int bottom, int flags, int fill);
    static native int combine(long target, int col, int row, int width, int height, long source, int sourceCol,
            int sourceRow, int flags);
    static native int blend(long target, int col, int row, int width, int height, long source, int sourceCol,
            int sourceRow, long mask, int maskCol, int maskRow, int mode, int opacity);
    static native int fill(long bitmap, int color);
    static native int fillRect(long bitmap, int[] edges, int color);
    static native int fillPattern(long bitmap, long pattern, int col, int row);
    static native int flood(long bitmap, int col, int row, int color, int border, int tolerance, int flags);
    static native int alpha(long made, long source);
    static native int setAlpha(long bitmap, long alpha);
    static native int setAlphaValue(long bitmap, int alpha);
    static native int premultiply(long bitmap, boolean isBack);
    static native int scramble(long bitmap, int col, int row, int width, int height, int key, int flags);

    // Colours. Palettes: four bytes an entry. findColor and nearestIndex give indices, palette a number of entries.
    static native int colorRes(long made, long source, int depth, int flags, byte[] palette, int colors);
    static native int grayScale(long bitmap, int depth);
    static native int isGray(long bitmap);
    static native int countColors(long bitmap, long[] count);
    static native int minMax(long bitmap);
    static native int setWindow(long bitmap, int function, int flags, double center, double width);
    static native int clearWindow(long bitmap);
    static native int window(long made, long source, int function, int flags, double center, double width, int depth);
    static native int setPaint(long bitmap, int contrast, int intensity, int gamma);
    static native int render(long made, long source, int[] edges, int width, int height, int flags);
    static native int fixedPalette(byte[] palette, int width);
    static native void cubePalette(byte[] palette);
    static native int grayPalette(byte[] palette, int width);
    static native int findColor(byte[] palette, int red, int green, int blue);
    static native int palette(long bitmap, byte[] palette);
    static native int setPalette(long bitmap, byte[] palette);
    static native int nearestIndex(long bitmap, int color);
    static native int translateColor(long target, long source, int color);

    // Regions and overlays.
    static native int regionRect(long bitmap, int[] edges, int mode);
    static native int regionEllipse(long bitmap, int[] edges, int mode);
    static native int regionRoundRect(long bitmap, int[] edges, int width, int height, int mode);
    static native int regionPolygon(long bitmap, double[] points, int rule, int mode);
    static native int regionMask(long bitmap, long mask, int mode);
    static native int regionColor(long bitmap, int lower, int upper, int mode);
    static native int regionWand(long bitmap, int col, int row, int lower, int upper, int mode);
    static native int regionFree(long bitmap);
    static native int regionExists(long bitmap);
    static native int regionInvert(long bitmap);
    static native int regionOffset(long bitmap, int columns, int rows);
    static native int regionCopy(long target, long source);
    static native int regionBounds(long bitmap, int[] edges);
    static native int regionArea(long bitmap, long[] area);
    static native int regionContains(long bitmap, int col, int row);
    static native int regionAsMask(long made, long source);
    static native int[] regionRow(long bitmap, int row, int[] result);
    static native int overlaySet(long bitmap, int index, long overlay);
    static native int overlayGet(long made, long bitmap, int index, int flags);
    static native int overlayRemove(long bitmap, int index);
    static native int overlayBits(long bitmap, int index, boolean isStored);
    static native int overlayFlatten(long bitmap);
    static native int overlayAttributes(long bitmap, int index, int[] numbers, byte[] label);
    static native int setOverlayAttributes(long bitmap, int index, int[] numbers, byte[] label);

    // Other forms; buffers are direct, form is code, width, height, matrix, range, siting. toDib gives a block.
    static native int fromDib(long bitmap, ByteBuffer buffer, int offset, int bytes);
    static native long toDib(long bitmap, int type, long[] bytes);
    static native void freeMemory(long block);
    static native long yuvSize(int[] form);
    static native int fromYuv(long bitmap, ByteBuffer buffer, int offset, int[] form);
    static native int toYuv(long bitmap, ByteBuffer buffer, int offset, int[] form);

    // Geometry: the first array is changed.
    static native int rectIntersect(int[] first, int[] second);
    static native int rectUnion(int[] first, int[] second);
    static native int rectInflate(int[] edges, int x, int y);
    static native int rectOffset(int[] edges, int x, int y);
    static native int rectdIntersect(double[] first, double[] second);
    static native int rectdUnion(double[] first, double[] second);
    static native int rectdInflate(double[] edges, double x, double y);
    static native int rectdOffset(double[] edges, double x, double y);
    static native int rectdToRect(double[] edges, int[] rounded, int mode);
    static native int matrixMultiply(double[] first, double[] then);
    static native int matrixInvert(double[] matrix);
    static native int matrixDeterminant(double[] matrix, double[] determinant);
    static native int matrixTranslate(double[] matrix, double x, double y);
    static native int matrixScale(double[] matrix, double x, double y);
    static native int matrixShear(double[] matrix, double x, double y);
    static native int matrixRotate(double[] matrix, int angle);
    static native int matrixFromCorners(double[] matrix, double[] from, double[] to);
    static native int matrixPoint(double[] matrix, double[] point);
    static native int matrixRect(double[] matrix, double[] edges);
}
