package org.vkkrnx;

import java.lang.ref.Cleaner;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicLong;

/**
 * Counts the native memory that objects hold, of which the collector knows nothing: when much has come since it last
 * looked, it is asked to.
 */
final class NativeMemory {
    private static Thread worker;

    /** Frees what nobody closed. */
    static final Cleaner CLEANER = Cleaner.create(task -> {
        worker = new Thread(task, "vkkrnx cleaner");
        return worker;
    });

    /** What an object takes beside its pixels: a record, tables, and the page that the smallest storage is. */
    static final long OVERHEAD = 8192;

    /** Bytes that may come between two collections. */
    private static final long GROWTH = Math.max(1 << 20, Long.getLong("org.vkkrnx.growth", 256L << 20));

    /** How long the collector and the cleaner are waited for. */
    private static final long PATIENCE = TimeUnit.SECONDS.toNanos(1);

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
            expectMuch();
        }
    }

    private static synchronized void expectMuch() {
        if (HELD.get() > limit) { // no other thread has seen to it meanwhile
            collect();
        }
    }

    /** Has the collector look for what nobody uses, and waits until that is freed. What is left then is in use: it grows
     *  by half before the next time. */
    static synchronized void collect() {
        long end = System.nanoTime() + PATIENCE;
        try {
            CountDownLatch isCleaning = new CountDownLatch(1);
            CLEANER.register(new Object(), isCleaning::countDown);
            System.gc();
            isCleaning.await(PATIENCE, TimeUnit.NANOSECONDS);
            do {
                Thread.sleep(1);
            } while (worker.getState() == Thread.State.RUNNABLE && System.nanoTime() < end);
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
        limit = HELD.get() + Math.max(GROWTH, HELD.get() / 2);
    }
}
