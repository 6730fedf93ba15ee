package org.vkkrnx;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.vkkrnx.Pictures.assertCode;
import static org.vkkrnx.Pictures.gray;
import static org.vkkrnx.Pictures.levels;

import java.util.function.Consumer;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

/** Every family of operations, on pictures whose results are known. */
class OperationsTest {
    private static final PointD[] CORNERS = {new PointD(0, 0), new PointD(3, 0), new PointD(3, 1), new PointD(0, 1)};
    private static final PointD[] GRID = {new PointD(0, 0), new PointD(3, 0), new PointD(0, 1), new PointD(3, 1)};
    private static final Rect ALL = new Rect(0, 0, 3, 1);
    private static final Point ORIGIN = new Point(0, 0);

    private static Arguments row(String name, Consumer<Bitmap> operation, int width, int... levels) {
        return Arguments.of(name, operation, width, levels);
    }

    /** What becomes of the gray row 10, 20, 250. */
    static Stream<Arguments> changes() {
        Color gray = Color.gray(7);
        return Stream.of(
                row("resize", b -> b.resize(6, 1, Constants.SIZEFLAG_NORMAL), 6, 10, 10, 20, 20, 250, 250),
                row("resample", b -> b.resample(1, 1), 1, 93),
                row("resampleCubic", b -> b.resampleCubic(3, 2), 3, 10, 20, 250, 10, 20, 250),
                row("resizeFrom", b -> {
                    try (Bitmap source = gray(1, 33)) {
                        b.resizeFrom(source, Constants.SIZEFLAG_NORMAL);
                    }
                }, 3, 33, 33, 33),
                row("resampleFrom", b -> {
                    try (Bitmap source = gray(1, 33)) {
                        b.resampleFrom(source, true);
                    }
                }, 3, 33, 33, 33),
                row("rotate", b -> b.rotate(18000, 0, gray), 3, 250, 20, 10),
                row("rotate90", b -> b.rotate90(true), 1, 10, 20, 250),
                row("shear", b -> b.shear(0, 0, gray), 3, 10, 20, 250),
                row("flip", Bitmap::flip, 3, 10, 20, 250),
                row("mirror", Bitmap::mirror, 3, 250, 20, 10),
                row("changeViewPerspective", b -> b.changeViewPerspective(3), 3, 250, 20, 10),
                row("warp", b -> b.warp(Matrix.IDENTITY.translate(1, 0), 3, 1, 0, gray), 3, 7, 10, 20),
                row("warpCorners", b -> b.warpCorners(CORNERS, 3, 1, 0, gray), 3, 10, 20, 250),
                row("warpGrid", b -> b.warpGrid(GRID, 2, 0, 0, 0, gray), 3, 10, 20, 250),
                row("trim", b -> b.trim(new Rect(1, 0, 3, 1)), 2, 20, 250),
                row("extend", b -> b.extend(1, 0, 1, 0, Constants.EXTEND_FILL, gray), 5, 7, 10, 20, 250, 7),
                row("combine", b -> b.combine(ALL, b, ORIGIN, Constants.COMBINE_COPY_NOT), 3, 245, 235, 5),
                row("blend", b -> {
                    try (Bitmap white = gray(3, 255, 255, 255)) {
                        b.blend(ALL, white, ORIGIN, Constants.BLEND_NORMAL, 32768);
                    }
                }, 3, 133, 138, 253),
                row("blend through a mask", b -> {
                    try (Bitmap white = gray(3, 255, 255, 255); Bitmap mask = gray(3, 0, 255, 0)) {
                        b.blend(ALL, white, ORIGIN, mask, ORIGIN, Constants.BLEND_NORMAL, 65535);
                    }
                }, 3, 10, 255, 250),
                row("copyFrom", b -> {
                    try (Bitmap source = gray(3, 1, 2, 3)) {
                        b.copyFrom(source);
                    }
                }, 3, 1, 2, 3),
                row("fill", b -> b.fill(gray), 3, 7, 7, 7),
                row("fill a rectangle", b -> b.fill(new Rect(1, 0, 9, 9), gray), 3, 10, 7, 7),
                row("fillPattern", b -> {
                    try (Bitmap pattern = gray(2, 1, 2)) {
                        b.fillPattern(pattern, new Point(1, 0));
                    }
                }, 3, 2, 1, 2),
                row("flood", b -> b.flood(ORIGIN, gray, 10, 0), 3, 7, 7, 250),
                row("floodTo", b -> b.floodTo(ORIGIN, gray, Color.gray(250), 0, 0), 3, 7, 7, 250),
                row("scramble and back", b -> {
                    b.scramble(ALL, 99, Constants.SCRAMBLE_HIDE);
                    assertFalse(java.util.Arrays.equals(new int[] {10, 20, 250}, levels(b)));
                    b.scramble(ALL, 99, Constants.SCRAMBLE_SHOW);
                }, 3, 10, 20, 250),
                row("inside of a region", b -> {
                    b.region().rect(new Rect(1, 0, 2, 1), Constants.REGION_SET);
                    b.fill(gray);
                }, 3, 10, 7, 250));
    }

    @ParameterizedTest(name = "{0}")
    @MethodSource("changes")
    void changesPixels(String name, Consumer<Bitmap> operation, int width, int[] levels) {
        try (Bitmap bitmap = gray(3, 10, 20, 250)) {
            operation.accept(bitmap);
            assertEquals(width, bitmap.width());
            assertArrayEquals(levels, levels(bitmap));
        }
    }

    @Test
    void changesColors() {
        try (Bitmap color = Bitmap.create(2, 1, 24); Bitmap ramp = gray(2, 0, 255)) {
            color.setPixel(0, 0, Color.rgb(255, 0, 0));
            assertEquals(0xFF0000, color.pixelData(0, 0));
            assertEquals(2, color.countColors());
            try (Bitmap indexed = color.withColors(8, Constants.COLORRES_PALETTE_CUBE, null)) {
                assertEquals(36 * 5, indexed.pixelData(0, 0));
                assertEquals(Palette.cube(), indexed.palette());
                assertEquals(Color.rgb(255, 0, 0), indexed.pixel(0, 0));
                assertEquals(36 * 5, indexed.nearestIndex(Color.rgb(250, 1, 2)));
                assertEquals(Color.index(36 * 5), indexed.translate(Color.rgb(255, 0, 0), color));
            }
            color.toGray(8);
            assertEquals(1, color.grayKind());
            assertEquals(64, color.pixelData(0, 0)); // (2 r + 5 g + b) / 8
            ramp.setDitheringMethod(Constants.DITHER_NONE);
            ramp.changeColors(1, Constants.COLORRES_PALETTE_DEFAULT, Palette.of(Color.WHITE, Color.BLACK));
            assertEquals(0x80, ramp.pixelData(0, 0));
            assertEquals(Color.WHITE, ramp.palette().get(0));
        }
    }

    @Test
    void ditheringKeepsTheMean() {
        try (Bitmap bitmap = Bitmap.createGray(64, 64, 8)) {
            bitmap.fill(Color.gray(64));
            bitmap.setDitheringMethod(Constants.DITHER_FLOYD_STEINBERG);
            bitmap.changeColors(1, Constants.COLORRES_PALETTE_FIXED, null);
            bitmap.region().colors(Color.WHITE, Color.WHITE, Constants.REGION_SET);
            assertEquals(64 * 64 * 64 / 255, bitmap.region().area(), 40);
        }
    }

    @Test
    void alpha() {
        try (Bitmap bitmap = Bitmap.create(1, 1, 32)) {
            bitmap.setPixelData(0, 0, 0xFF0000C8L);
            bitmap.setAlpha(128);
            bitmap.premultiply();
            assertEquals(0x80000064L, bitmap.pixelData(0, 0) & 0xFFFFFFFFL);
            bitmap.unpremultiply();
            assertEquals(0x800000C7L, bitmap.pixelData(0, 0) & 0xFFFFFFFFL);
            try (Bitmap alpha = bitmap.alpha(); Bitmap other = gray(1, 9)) {
                assertArrayEquals(new int[] {128}, levels(alpha));
                bitmap.setAlpha(other);
                assertEquals(9, bitmap.pixelData(0, 0) >>> 24);
            }
        }
    }

    @Test
    void windowAndPaint() {
        try (Bitmap deep = Bitmap.createGray(2, 1, 16)) {
            deep.setPixelData(0, 1, 300);
            deep.findMinMax();
            assertEquals(300, deep.maxVal());
            try (Bitmap shown = deep.withWindow(new Window(128, 256), 8)) {
                assertArrayEquals(new int[] {0, 255}, levels(shown));
            }
            deep.setWindow(new Window(Constants.WINDOW_LINEAR, Constants.WINDOWFLAG_INVERTED, 128, 256));
            try (Bitmap shown = deep.render(null, 0, 0, Constants.RENDER_NEAREST)) {
                assertEquals(Color.WHITE, shown.pixel(0, 0));
            }
            deep.setWindow(null);
            deep.setPaint(0, 1000, 100);
            try (Bitmap shown = deep.render(new Rect(0, 0, 1, 1), 5, 4, Constants.RENDER_32BITS)) {
                assertEquals(5, shown.width());
                assertEquals(32, shown.bitsPerPixel());
                assertEquals(Color.WHITE, shown.pixel(3, 4));
            }
        }
    }

    @Test
    void regions() {
        try (Bitmap bitmap = Bitmap.createGray(10, 10, 8); Bitmap mask = Bitmap.create(10, 10, 1)) {
            Region region = bitmap.region();
            assertFalse(region.exists());
            region.rect(new Rect(1, 1, 4, 3), Constants.REGION_SET);
            region.rect(new Rect(6, 1, 8, 2), Constants.REGION_OR);
            assertEquals(new Rect(1, 1, 8, 3), region.bounds());
            assertArrayEquals(new int[] {1, 4, 6, 8}, region.runs(1));
            assertTrue(region.contains(7, 1));
            region.offset(0, 5);
            region.invert();
            assertEquals(100 - 8, region.area());
            mask.setPixel(5, 5, Color.WHITE);
            region.mask(mask, Constants.REGION_SET);
            try (Bitmap made = region.toMask(); Bitmap other = Bitmap.create(10, 10, 24)) {
                other.region().copyFrom(bitmap);
                assertEquals(1, other.region().area());
                assertEquals(Color.WHITE, made.pixel(5, 5));
            }
            region.ellipse(new Rect(0, 0, 4, 4), Constants.REGION_SET);
            assertEquals(12, region.area());
            region.roundRect(new Rect(0, 0, 4, 4), 0, 0, Constants.REGION_SET);
            assertEquals(16, region.area());
            PointD[] triangle = {new PointD(0, 0), new PointD(10, 0), new PointD(0, 10)};
            region.polygon(triangle, Constants.REGION_ALTERNATE, Constants.REGION_SET);
            assertEquals(45, region.area());
            region.clear();
            region.wand(new Point(0, 0), Color.BLACK, Color.BLACK, Constants.REGION_SET);
            assertEquals(100, region.area());
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> region.runs(10));
        }
    }

    @Test
    void overlays() {
        try (Bitmap bitmap = Bitmap.create(4, 2, 24); Bitmap mark = Bitmap.create(1, 1, 1)) {
            mark.setPixel(0, 0, Color.WHITE);
            var attributes = new Overlays.Attributes(true, Color.rgb(1, 2, 3), new Point(2, 1), -1, "Maß 1");
            bitmap.overlays().setAttributes(15, attributes);
            assertEquals(attributes, bitmap.overlays().attributes(15));
            bitmap.overlays().set(15, mark);
            try (Bitmap shown = bitmap.overlays().get(15)) {
                assertEquals(Color.WHITE, shown.pixel(1, 2));
            }
            bitmap.flattenOverlays();
            assertEquals(Color.rgb(1, 2, 3), bitmap.pixel(1, 2));
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> bitmap.overlays().take(15));
            assertCode(Constants.ERROR_INVALID_PARAMETER, () -> bitmap.overlays().remove(16));
        }
        try (Bitmap deep = Bitmap.createGray(2, 1, 16)) {
            deep.setPixelData(0, 1, 0x8000);
            deep.overlays().setAttributes(0, new Overlays.Attributes(true, Color.WHITE, new Point(0, 0), 15, ""));
            deep.overlays().loadBits(0);
            deep.setPixelData(0, 1, 0);
            deep.overlays().storeBits(0);
            assertEquals(0x8000, deep.pixelData(0, 1));
        }
    }

    @Test
    void placesAndColors() {
        try (Bitmap bitmap = gray(4, 9, 9, 1, 9, 9, 9, 1, 9)) {
            assertEquals(new Rect(2, 0, 3, 2), bitmap.findTrimRect(Color.gray(9), 0));
            assertEquals(new Rect(0, 1, 1, 2), bitmap.rectToBitmap(Constants.BOTTOM_LEFT, new Rect(0, 0, 1, 1)));
            assertEquals(new Rect(0, 1, 1, 2), bitmap.rectFromBitmap(Constants.BOTTOM_LEFT, new Rect(0, 0, 1, 1)));
            bitmap.setTransparency(Color.gray(9));
            try (Bitmap copy = bitmap.copy(new Rect(1, 1, 3, 2))) {
                assertArrayEquals(new int[] {9, 1}, levels(copy));
                assertEquals(Color.gray(9), copy.transparency());
            }
            bitmap.setTransparency(null);
            assertNull(bitmap.transparency());
        }
    }
}
