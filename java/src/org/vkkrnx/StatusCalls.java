package org.vkkrnx;

import java.util.function.IntSupplier;

/**
 * The threads' status callbacks. The library is told of one while an operation runs only: so nothing native belongs to
 * a thread that may end, or to a virtual one that moves between threads.
 */
final class StatusCalls {
    private static final class State {
        Status status;
        int reports; // that are under way
    }

    private static final ThreadLocal<State> STATES = new ThreadLocal<>();

    private StatusCalls() {}

    static Status get() {
        State state = STATES.get();
        return state == null ? null : state.status;
    }

    static Status set(Status status) {
        State state = STATES.get();
        if (state == null) {
            if (status == null) {
                return null;
            }
            state = new State();
            STATES.set(state);
        }
        Status before = state.status;
        state.status = status;
        if (status == null && state.reports == 0) {
            STATES.remove();
        }
        return before;
    }

    /** Whether the calling thread is in a callback, and so in the middle of an operation. */
    static boolean isReporting() {
        State state = STATES.get();
        return state != null && state.reports > 0;
    }

    /** Runs an operation with the calling thread's callback. */
    static int watched(IntSupplier operation) {
        if (get() == null) {
            return operation.getAsInt();
        }
        long before = Native.watch();
        if (before == 0) {
            return Constants.ERROR_NO_MEMORY;
        }
        try {
            return operation.getAsInt();
        } finally {
            Native.unwatch(before);
        }
    }

    /** Called by the native side. */
    static boolean report(int percent) {
        State state = STATES.get();
        if (state == null || state.status == null) {
            return true;
        }
        ++state.reports;
        try {
            return state.status.progress(percent);
        } finally {
            --state.reports;
        }
    }
}
