package org.vkkrnx;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.vkkrnx.Pictures.assertCode;
import static org.vkkrnx.Pictures.gray;

import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.ByteBuffer;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicReference;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

/** Whatever is passed, and whoever calls when: an exception or nothing, never a crash, and no leak. */
class SafetyTest {
    @AfterEach
    void noCallbackStays() {
        Status.set(null);
    }

    // ---------------------------------------------------------------------------------------------- any arguments

    /** Values for parameters of a type, bad ones among them. */
    private static Object any(Class<?> type, Random random, Bitmap closed) {
        int[] numbers = {0, 1, -1, 2, 7, 8, 24, 255, 300, -70000, Integer.MIN_VALUE};
        double[] reals = {0, -1, 0.5, Double.NaN, Double.POSITIVE_INFINITY, 1e300, Double.MIN_VALUE};
        int number = numbers[random.nextInt(numbers.length)];
        double real = reals[random.nextInt(reals.length)];
        int pick = random.nextInt(8);
        if (type == int.class) {
            return number;
        }
        if (type == long.class) {
            return (long) number << random.nextInt(40);
        }
        if (type == double.class) {
            return real;
        }
        if (type == boolean.class) {
            return pick < 4;
        }
        if (pick == 0) {
            return null;
        }
        if (type == Bitmap.class) {
            return pick == 1 ? closed : Bitmap.create(1 + pick, 3, pick < 4 ? 8 : 32);
        }
        if (type == Rect.class) {
            return new Rect(number, -pick, pick, numbers[pick]);
        }
        if (type == Point.class) {
            return new Point(number, pick);
        }
        if (type == PointD[].class) {
            PointD[] points = new PointD[pick == 1 ? 0 : 4];
            for (int i = 0; i < points.length; ++i) {
                points[i] = pick == 2 && i == 3 ? null : new PointD(i == 1 ? real : 3 * (i & 1), i / 2);
            }
            return points;
        }
        if (type == Color.class) {
            return new Color(random.nextInt());
        }
        if (type == Palette.class) {
            return pick < 4 ? Palette.of(Color.BLACK) : Palette.cube();
        }
        if (type == Matrix.class) {
            return Matrix.of(1, 0, 0, 0, real, 0, pick, 0, 1);
        }
        if (type == Window.class) {
            return new Window(pick - 1, pick, real, 1);
        }
        if (type == Yuv.class) {
            return new Yuv("NV12", number, 3);
        }
        if (type == String.class) {
            return "x".repeat(pick * 20);
        }
        if (type == byte[].class) {
            return new byte[pick == 1 ? 0 : 16 * pick];
        }
        if (type == ByteBuffer.class) {
            ByteBuffer buffer = pick < 4 ? ByteBuffer.allocate(pick * 5) : ByteBuffer.allocateDirect(pick * 5);
            return pick == 7 ? buffer.asReadOnlyBuffer() : buffer.position(pick);
        }
        if (type == Overlays.Attributes.class) {
            return new Overlays.Attributes(true, new Color(number), new Point(0, 0), pick, "y".repeat(pick * 10));
        }
        return null;
    }

    private static void call(Object target, Method method, Random random, Bitmap closed) throws Exception {
        Class<?>[] types = method.getParameterTypes();
        Object[] arguments = new Object[types.length];
        for (int i = 0; i < types.length; ++i) {
            arguments[i] = any(types[i], random, closed);
        }
        try {
            method.invoke(target, arguments);
        } catch (InvocationTargetException e) {
            Throwable cause = e.getCause();
            boolean isExpected = cause instanceof VkException || cause instanceof NullPointerException
                    || cause instanceof java.nio.ReadOnlyBufferException || cause instanceof IllegalArgumentException;
            assertTrue(isExpected, () -> method + ": " + cause);
        }
    }

    @Test
    void anyArgumentsOfAnyMethod() throws Exception {
        Random random = new Random(20);
        Bitmap closed = gray(1, 1);
        closed.close();
        List<Method> methods = new ArrayList<>();
        for (Class<?> type : new Class<?>[] {Bitmap.class, Region.class, Overlays.class}) {
            for (Method method : type.getMethods()) {
                boolean isOurs = method.getDeclaringClass() != Object.class && !method.getName().equals("close");
                boolean makesLarge = method.getName().equals("create") || method.getName().startsWith("createGray");
                if (isOurs && !makesLarge && !Modifier.isStatic(method.getModifiers())) {
                    methods.add(method);
                }
            }
        }
        assertTrue(methods.size() > 110, () -> methods.size() + " methods");
        long[] end = new long[1]; // of what has become too large
        Status.set(percent -> System.nanoTime() < end[0] && random.nextInt(200) != 0);
        int[] depths = {1, 4, 8, 12, 16, 24, 32, 48, 64};
        for (int round = 0; round < 3000; ++round) {
            Bitmap bitmap = Bitmap.create(5, 4, depths[random.nextInt(depths.length)]);
            for (int i = 0; i < 6; ++i) {
                Method method = methods.get(random.nextInt(methods.size()));
                Object target = method.getDeclaringClass() == Region.class ? bitmap.region()
                        : method.getDeclaringClass() == Overlays.class ? bitmap.overlays() : bitmap;
                if (isSmall(bitmap)) {
                    end[0] = System.nanoTime() + 20_000_000;
                    call(target, method, random, closed);
                }
            }
            if (round % 3 == 0) {
                bitmap.close(); // the others go when they are collected
            }
        }
    }

    /** Sizes among the arguments may have made it large. */
    private static boolean isSmall(Bitmap bitmap) {
        return bitmap.size() < 1 << 20;
    }

    @Test
    void closedObjects() throws Exception {
        Bitmap bitmap = gray(2, 1, 2);
        BitmapList list = new BitmapList();
        bitmap.close();
        bitmap.close();
        list.close();
        assertCode(Constants.ERROR_NULL_PTR, bitmap::width);
        assertCode(Constants.ERROR_NULL_PTR, bitmap::pixels);
        assertCode(Constants.ERROR_NULL_PTR, bitmap::copy);
        assertCode(Constants.ERROR_NULL_PTR, () -> bitmap.region().exists());
        assertCode(Constants.ERROR_NULL_PTR, () -> list.add(gray(1, 1)));
        assertCode(Constants.ERROR_NULL_PTR, list::size);
        assertEquals("A NULL pointer was passed", new VkException(Constants.ERROR_NULL_PTR).getMessage());
    }

    // -------------------------------------------------------------------------------------------------- callbacks

    @Test
    void callbacksHearStopAndThrow() {
        try (Bitmap bitmap = Bitmap.create(300, 300, 24)) {
            List<Integer> heard = new ArrayList<>();
            assertNull(Status.set(heard::add));
            bitmap.resample(200, 200);
            assertEquals(0, heard.get(0));
            assertEquals(100, heard.get(heard.size() - 1));

            Status.set(percent -> percent < 10);
            assertCode(Constants.ERROR_USER_ABORT, () -> bitmap.resample(100, 100));
            Status.set(percent -> {
                throw new java.io.UncheckedIOException(new java.io.IOException("mine"));
            });
            assertThrows(java.io.UncheckedIOException.class, () -> bitmap.resample(100, 100));
            assertThrows(java.io.UncheckedIOException.class, bitmap::copy);
            assertThrows(java.io.UncheckedIOException.class, () -> bitmap.toDib(0));
            assertThrows(java.io.UncheckedIOException.class, bitmap::countColors);
            Status.set(percent -> endless(percent) > 0);
            assertThrows(StackOverflowError.class, bitmap::flip);
            assertEquals(200, bitmap.width());
        }
    }

    private static int endless(int depth) {
        return endless(depth + 1) + 1;
    }

    @Test
    void callbacksUseOtherObjectsButNotThese() throws Exception {
        try (Bitmap bitmap = Bitmap.create(50, 50, 8); Bitmap other = Bitmap.create(50, 50, 8)) {
            AtomicReference<Throwable> refused = new AtomicReference<>();
            Status outer = percent -> {
                Status mine = Status.set(null);
                other.flip();
                refused.set(assertThrows(IllegalStateException.class, bitmap::flip));
                assertThrows(IllegalStateException.class, bitmap::close);
                assertEquals(50, bitmap.width());
                Status.set(mine);
                return true;
            };
            Status.set(outer);
            bitmap.flip();
            assertTrue(refused.get() != null);
            assertSame(outer, Status.get());
        }
    }

    // ---------------------------------------------------------------------------------------------------- threads

    @Test
    void threadsShareAndCloseObjects() throws Exception {
        for (int round = 0; round < 40; ++round) {
            Bitmap first = Bitmap.create(64, 64, 24);
            Bitmap second = Bitmap.create(64, 64, 24);
            AtomicReference<Throwable> failure = new AtomicReference<>();
            CountDownLatch start = new CountDownLatch(1);
            Thread[] threads = new Thread[4];
            for (int i = 0; i < threads.length; ++i) {
                int number = i;
                threads[i] = new Thread(() -> use(first, second, number, start, failure));
                threads[i].start();
            }
            start.countDown();
            Thread.sleep(2);
            first.close();
            for (Thread thread : threads) {
                thread.join();
            }
            assertNull(failure.get());
            second.close();
        }
    }

    private static void use(Bitmap first, Bitmap second, int number, CountDownLatch start,
            AtomicReference<Throwable> failure) {
        try {
            start.await();
            Status.set(percent -> second.isClosed() || second.width() >= 0);
            for (int i = 0; i < 1_000_000; ++i) {
                switch ((i + number) % 6) {
                    case 0 -> first.combine(new Rect(0, 0, 9, 9), second, new Point(0, 0), Constants.COMBINE_XOR);
                    case 1 -> second.combine(new Rect(0, 0, 9, 9), first, new Point(0, 0), Constants.COMBINE_XOR);
                    case 2 -> first.resize(60 + i % 9, 64, Constants.SIZEFLAG_NORMAL);
                    case 3 -> first.pixels().put(0, (byte) i);
                    case 4 -> first.changeColors(i % 4 < 2 ? 8 : 24, Constants.COLORRES_NODITHER, null);
                    default -> first.copy().close();
                }
            }
        } catch (VkException e) {
            // Closed; or changed by another thread, so that an operation does not fit.
            if (e.code() != Constants.ERROR_NULL_PTR && !first.isClosed()
                    && e.code() != Constants.ERROR_INVALID_BITS_PER_PIXEL) {
                failure.set(e);
            }
        } catch (Throwable e) {
            failure.set(e);
        }
    }

    // ----------------------------------------------------------------------------------------------------- memory

    private static long residentBytes() throws Exception {
        for (String line : Files.readAllLines(Path.of("/proc/self/status"))) {
            if (line.startsWith("VmRSS:")) {
                return Long.parseLong(line.replaceAll("\\D", "")) << 10;
            }
        }
        return 0;
    }

    @Test
    @Tag("long")
    void aMillionBitmapsDropped() throws Exception {
        long before = residentBytes();
        long most = 0;
        for (int i = 0; i < 1_000_000; ++i) {
            Bitmap bitmap = Bitmap.create(16, 16, 24);
            if (i % 1000 == 0) {
                bitmap.pixels(); // which outlive it
                bitmap.region().rect(new Rect(1, 1, 3, 3), Constants.REGION_SET);
                new BitmapList().add(bitmap);
                most = Math.max(most, residentBytes());
            }
        }
        long grown = most - before;
        assertTrue(grown < 700L << 20, () -> "grown by " + (grown >> 20) + " MiB");
        collectAll();
    }

    @Test
    void largeBitmapsDropped() throws Exception {
        long before = residentBytes();
        long most = 0;
        for (int i = 0; i < 80; ++i) { // 2.5 GB in all
            Bitmap bitmap = Bitmap.create(4000, 2000, 32);
            ByteBuffer pixels = bitmap.pixels();
            pixels.put(12345, (byte) 1);
            bitmap.fill(Color.WHITE);
            most = Math.max(most, residentBytes());
        }
        long grown = most - before;
        assertTrue(grown < 900L << 20, () -> "grown by " + (grown >> 20) + " MiB");
        collectAll();
    }

    /** What nobody uses is given back to the last byte, in whatever order the collector finds it. */
    private static void collectAll() throws Exception {
        for (int i = 0; i < 100 && Vk.heldMemory() > 0; ++i) {
            System.gc();
            Thread.sleep(20);
        }
        assertEquals(0, Vk.heldMemory());
    }

    @Test
    void viewsOutliveBitmaps() throws Exception {
        List<ByteBuffer> rows = new ArrayList<>();
        for (int i = 0; i < 50; ++i) {
            Bitmap bitmap = Bitmap.create(1000, 100, 24);
            bitmap.fill(Color.rgb(i, i, i));
            rows.add(bitmap.row(50));
            if (i % 2 == 0) {
                bitmap.close();
            }
        }
        for (int i = 0; i < 5; ++i) {
            System.gc();
            Thread.sleep(10);
            Bitmap.create(1000, 100, 24).fill(Color.WHITE); // would take the place of freed pixels
        }
        for (int i = 0; i < rows.size(); ++i) {
            assertEquals(i, rows.get(i).get(2999));
        }
        rows.clear();
        collectAll();
    }

    @Test
    void settings() throws Exception {
        Vk.setWorkers(2);
        Vk.setDefaultDithering(Constants.DITHER_ORDERED);
        Vk.setDefaultMemoryType(Constants.TYPE_DISK);
        int[] elsewhere = new int[1];
        Thread other = new Thread(() -> elsewhere[0] = Vk.workers());
        other.start();
        other.join();
        assertEquals(1, elsewhere[0]);
        assertEquals(2, Vk.workers());
        assertEquals(Constants.TYPE_DISK, Vk.defaultMemoryType());
        try (Bitmap bitmap = Bitmap.create(1, 1, 8)) {
            assertEquals(Constants.DITHER_ORDERED, bitmap.ditheringMethod());
        }
        assertCode(Constants.ERROR_INVALID_PARAMETER, () -> Vk.setWorkers(-1));
        assertCode(Constants.ERROR_INVALID_PARAMETER, () -> Vk.setDefaultDithering(99));
        Vk.freeThreadState();
        assertEquals(1, Vk.workers());
        long stock = Vk.memoryStock();
        Vk.setMemoryStock(0);
        assertEquals(0, Vk.memoryStock());
        Vk.setMemoryStock(-1);
        Vk.trimMemory();
        assertEquals(stock, Vk.memoryStock(), 64 << 20);
        assertEquals(10000, Vk.version());
    }
}
