package org.vkkrnx;

import java.lang.ref.Cleaner;
import java.util.concurrent.atomic.AtomicLong;

/**
 * Counts the native memory that objects hold, of which the collector knows nothing: when much has come since it last
 * looked, it is asked to.
 */
final class NativeMemory {
    /** Frees what nobody closed. */
    static final Cleaner CLEANER = Cleaner.create();

    /** What an object takes beside its pixels: a record, tables, and the page that the smallest storage is. */
    static final long OVERHEAD = 8192;

    /** Bytes that may come between two collections. */
    private static final long GROWTH = Math.max(1 << 20, Long.getLong("org.vkkrnx.growth", 256L << 20));

    private static final long PATIENCE_MILLIS = 200;

    private static final AtomicLong HELD = new AtomicLong();
    private static volatile long limit = GROWTH;

    private NativeMemory() {}

    static long held() {
        return HELD.get();
    }

    static void changed(long bytes) {
        HELD.addAndGet(bytes);
    }

    /** Called before something is made. */
    static void expect() {
        if (HELD.get() > limit) {
            collect();
        }
    }

    /** Has the collector look for what nobody uses and waits a little for the cleaner. What then is left is in use: it
     *  grows by half before the next time. */
    static synchronized void collect() {
        long before = HELD.get();
        System.gc();
        long end = System.nanoTime() + PATIENCE_MILLIS * 1_000_000;
        long seen = before;
        boolean isFalling = true;
        while (isFalling && System.nanoTime() < end) {
            try {
                Thread.sleep(seen < before ? 2 : 10);
            } catch (InterruptedException e) {
                Thread.currentThread().interrupt();
                break;
            }
            long now = HELD.get();
            isFalling = now < seen;
            seen = now;
        }
        limit = HELD.get() + Math.max(GROWTH, HELD.get() / 2);
    }
}
