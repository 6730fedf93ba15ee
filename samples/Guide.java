import java.awt.image.BufferedImage;
import java.nio.ByteBuffer;
import org.vkkrnx.Bitmap;
import org.vkkrnx.Color;
import org.vkkrnx.Constants;
import org.vkkrnx.Palette;
import org.vkkrnx.Point;
import org.vkkrnx.Rect;
import org.vkkrnx.Status;
import org.vkkrnx.VkException;

/** A walk through the Java binding. */
public final class Guide {
    public static void main(String[] arguments) {
        try (Bitmap page = Bitmap.create(200, 100, 24)) {
            page.fill(Color.WHITE);
            page.fill(new Rect(50, 0, 150, 100), Color.rgb(200, 40, 40));

            // Rows where they are: blue, green, red from the lowest address up.
            ByteBuffer row = page.row(0);
            row.put(0, (byte) 0);

            // An image over the same pixels; what is drawn into it is in the page.
            BufferedImage image = page.shareImage();
            image.setRGB(1, 0, 0xFF0000FF);

            // Only inside of a region.
            page.region().ellipse(new Rect(60, 10, 140, 90), Constants.REGION_SET);
            page.fill(Color.WHITE);
            page.region().clear();

            // A copy in two colours, each pixel the nearest.
            Palette colors = Palette.of(Color.BLACK, Color.WHITE);
            try (Bitmap copy = page.withColors(1, Constants.COLORRES_NODITHER, colors)) {
                page.combine(new Rect(0, 0, 20, 100), copy, new Point(0, 0), Constants.COMBINE_COPY);
            }

            // Progress; an operation that is stopped leaves the page as it was.
            Status.set(percent -> percent < 50);
            try {
                page.resample(400, 200);
            } catch (VkException e) {
                System.out.println(e.code() == Constants.ERROR_USER_ABORT ? "stopped" : e.getMessage());
            } finally {
                Status.set(null);
            }

            page.trim(new Rect(0, 0, 1, 100));
            page.region().colors(Color.WHITE, Color.WHITE, Constants.REGION_SET);
            System.out.println("rows " + page.height() + ", white pixels " + page.region().area());
        }
    }
}
