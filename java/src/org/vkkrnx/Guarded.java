package org.vkkrnx;

import java.lang.ref.Reference;
import java.util.Arrays;
import java.util.Objects;
import java.util.concurrent.atomic.AtomicLong;
import java.util.concurrent.locks.ReentrantLock;

/**
 * An object with something native behind it, which one thread at a time works on and nobody after it was closed.
 *
 * <p>Nobody who holds a guard waits for another, so there is no deadlock: several guards are taken in the order of their
 * objects' numbers, and a status callback, in whose back an operation holds guards, takes what is free or nothing.
 */
abstract class Guarded implements AutoCloseable {
    private static final AtomicLong NUMBERS = new AtomicLong();

    private final ReentrantLock lock = new ReentrantLock();
    private final long number = NUMBERS.getAndIncrement();
    private volatile boolean isClosed;

    /**
     * Tells whether the object was closed.
     *
     * @return whether it was
     */
    public final boolean isClosed() {
        return isClosed;
    }

    /** Frees what is native. Called once, with the guard held. */
    abstract void free();

    /** Takes note of what an operation has changed. Called with the guard held. */
    void refresh() {}

    /** Frees the object's memory, once; waits for an operation of another thread. Whatever else is called afterwards is
     *  a {@link VkException} with {@link Constants#ERROR_NULL_PTR}. */
    @Override
    public final void close() {
        take();
        try {
            if (!isClosed) {
                isClosed = true;
                free();
            }
        } finally {
            leave();
        }
    }

    /** Throws when the object is closed. */
    final void requireOpen() {
        if (isClosed) {
            throw new VkException(Constants.ERROR_NULL_PTR);
        }
    }

    final void enter() {
        take();
        if (isClosed) {
            lock.unlock();
            throw new VkException(Constants.ERROR_NULL_PTR);
        }
    }

    final void leave() {
        lock.unlock();
        Reference.reachabilityFence(this);
    }

    private void take() {
        if (!lock.tryLock()) {
            if (StatusCalls.isReporting()) {
                throw busy();
            }
            lock.lock();
        } else if (lock.getHoldCount() > 1) {
            lock.unlock();
            throw busy();
        }
    }

    private static IllegalStateException busy() {
        return new IllegalStateException("an operation is using this object");
    }

    /** Enters several objects, each once. They are left by {@link #leaveAll}. */
    static Guarded[] enterAll(Guarded first, Guarded... others) {
        Guarded[] all = Arrays.copyOf(others, others.length + 1);
        all[others.length] = first;
        for (Guarded each : all) {
            Objects.requireNonNull(each);
        }
        Arrays.sort(all, (a, b) -> Long.compare(a.number, b.number));
        int count = 0;
        try {
            for (int i = 0; i < all.length; ++i) {
                if (i > 0 && all[i] == all[i - 1]) {
                    continue;
                }
                all[i].enter();
                all[count++] = all[i];
            }
        } catch (Throwable failure) {
            leaveAll(Arrays.copyOf(all, count));
            throw failure;
        }
        return Arrays.copyOf(all, count);
    }

    static void leaveAll(Guarded[] all) {
        for (Guarded each : all) {
            each.leave();
        }
    }
}
