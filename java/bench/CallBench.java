import java.nio.ByteBuffer;
import java.util.function.IntToLongFunction;
import org.vkkrnx.Bitmap;
import org.vkkrnx.Region;

/** What calls cost from Java and from C, in turn: the best of many rounds, in nanoseconds a call. */
public final class CallBench {
    private static final int CALLS = 20_000;
    private static final int ROUNDS = 500;
    private static final int WIDTH = 4096;
    private static final int ROWS = 16;

    private static native long question(int calls);

    private static native long row(int calls);

    private interface Call {
        void run(int i);
    }

    private static long time(int calls, Call call) {
        long start = System.nanoTime();
        for (int i = 0; i < calls; ++i) {
            call.run(i);
        }
        return System.nanoTime() - start;
    }

    private static void compare(String name, IntToLongFunction c, Call java) {
        long bestOfC = Long.MAX_VALUE;
        long bestOfJava = Long.MAX_VALUE;
        for (int i = 0; i < ROUNDS; ++i) {
            bestOfC = Math.min(bestOfC, c.applyAsLong(CALLS));
            bestOfJava = Math.min(bestOfJava, time(CALLS, java));
        }
        System.out.printf("%-34s C %6.1f ns   Java %6.1f ns   %+.1f ns%n", name, (double) bestOfC / CALLS,
                (double) bestOfJava / CALLS, (double) (bestOfJava - bestOfC) / CALLS);
    }

    public static void main(String[] arguments) {
        System.loadLibrary("vkkrnx_calls_c");
        try (Bitmap bitmap = Bitmap.createGray(WIDTH, ROWS, 8)) {
            Region region = bitmap.region();
            compare("is there a region?", CallBench::question, i -> region.exists());
            byte[] array = new byte[WIDTH];
            compare("row of 4096 pixels into an array", CallBench::row, i -> bitmap.getRow(i % ROWS, array));
            ByteBuffer direct = ByteBuffer.allocateDirect(WIDTH);
            compare("the same into a direct buffer", CallBench::row, i -> bitmap.getRow(i % ROWS, 0, direct.clear()));
        }
    }
}
