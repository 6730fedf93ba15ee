package org.vkkrnx;

import java.awt.Transparency;
import java.awt.color.ColorSpace;
import java.awt.image.BufferedImage;
import java.awt.image.ColorModel;
import java.awt.image.ComponentColorModel;
import java.awt.image.DataBuffer;
import java.awt.image.DataBufferByte;
import java.awt.image.DataBufferInt;
import java.awt.image.DataBufferUShort;
import java.awt.image.DirectColorModel;
import java.awt.image.IndexColorModel;
import java.awt.image.MultiPixelPackedSampleModel;
import java.awt.image.PixelInterleavedSampleModel;
import java.awt.image.Raster;
import java.awt.image.SampleModel;
import java.awt.image.SinglePixelPackedSampleModel;
import java.awt.image.WritableRaster;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;

/** Bitmaps and the images of the Java library. */
final class Images {
    private Images() {}

    // ------------------------------------------------------------------------------------------------- shared pixels

    /** How an image looks at a layout. */
    private record Look(ColorModel colors, SampleModel samples, boolean isWide) {}

    static BufferedImage share(Bitmap bitmap) {
        ByteBuffer pixels = bitmap.pixels();
        SharedBuffer.Form form = new SharedBuffer.Form(bitmap.width(), bitmap.height(), bitmap.bitsPerPixel(),
                bitmap.order(), bitmap.palette());
        int stride = bitmap.bytesPerLine();
        boolean isPlain = bitmap.viewPerspective() == Constants.TOP_LEFT
                && (long) stride * form.height() == pixels.capacity()
                && (bitmap.flags() & Constants.BITMAPFLAG_SIGNED) == 0;
        Look look = isPlain ? lookAt(form, stride, bitmap.lowBit(), bitmap.highBit()) : null;
        if (look == null) {
            throw new VkException(Constants.ERROR_FEATURE_NOT_SUPPORTED);
        }
        SharedBuffer data = new SharedBuffer(pixels, look.isWide, form);
        WritableRaster raster = Raster.createWritableRaster(look.samples, data, null);
        return new BufferedImage(look.colors, raster, false, null);
    }

    /** Null for a layout that images do not have. */
    private static Look lookAt(SharedBuffer.Form form, int stride, int lowBit, int highBit) {
        boolean isRed = form.order() == Constants.COLORORDER_RGB;
        boolean isColor = isRed || form.order() == Constants.COLORORDER_BGR;
        boolean isGray = form.order() == Constants.COLORORDER_GRAY;
        return switch (form.depth()) {
            case 1, 2, 4 -> new Look(indices(form), new MultiPixelPackedSampleModel(DataBuffer.TYPE_BYTE, form.width(),
                    form.height(), form.depth(), stride, 0), false);
            case 8 -> new Look(indices(form), channels(form, DataBuffer.TYPE_BYTE, stride, 0), false);
            case 16 -> isGray ? (lowBit == 0 && (highBit == 15 || highBit < 0) ? gray(form, stride) : null)
                    : form.order() == Constants.COLORORDER_RGB565 || isColor ? fields(form, stride) : null;
            case 24 -> isColor ? colors(form, stride, isRed, DataBuffer.TYPE_BYTE, false) : null;
            case 32 -> isColor ? colors(form, stride, isRed, DataBuffer.TYPE_BYTE, true) : null;
            case 48 -> isColor ? colors(form, stride, isRed, DataBuffer.TYPE_USHORT, false) : null;
            case 64 -> isColor ? colors(form, stride, isRed, DataBuffer.TYPE_USHORT, true) : null;
            default -> null;
        };
    }

    private static IndexColorModel indices(SharedBuffer.Form form) {
        int count = 1 << form.depth();
        boolean isRamp = form.order() == Constants.COLORORDER_GRAY || form.palette() == null;
        Palette palette = isRamp ? Palette.gray(form.depth()) : form.palette();
        byte[][] channels = new byte[3][count];
        for (int i = 0; i < Math.min(count, palette.size()); ++i) {
            Color color = palette.get(i);
            channels[0][i] = (byte) color.red();
            channels[1][i] = (byte) color.green();
            channels[2][i] = (byte) color.blue();
        }
        return new IndexColorModel(form.depth(), count, channels[0], channels[1], channels[2]);
    }

    private static PixelInterleavedSampleModel channels(SharedBuffer.Form form, int type, int stride, int... offsets) {
        int elements = type == DataBuffer.TYPE_USHORT ? stride / 2 : stride;
        return new PixelInterleavedSampleModel(type, form.width(), form.height(), offsets.length, elements, offsets);
    }

    private static Look gray(SharedBuffer.Form form, int stride) {
        ColorModel model = new ComponentColorModel(ColorSpace.getInstance(ColorSpace.CS_GRAY), false, false,
                Transparency.OPAQUE, DataBuffer.TYPE_USHORT);
        return new Look(model, channels(form, DataBuffer.TYPE_USHORT, stride, 0), true);
    }

    private static Look colors(SharedBuffer.Form form, int stride, boolean isRed, int type, boolean hasAlpha) {
        ColorModel model = new ComponentColorModel(ColorSpace.getInstance(ColorSpace.CS_sRGB), hasAlpha, false,
                hasAlpha ? Transparency.TRANSLUCENT : Transparency.OPAQUE, type);
        int red = isRed ? 0 : 2;
        int[] offsets = hasAlpha ? new int[] {red, 1, 2 - red, 3} : new int[] {red, 1, 2 - red};
        return new Look(model, channels(form, type, stride, offsets), type == DataBuffer.TYPE_USHORT);
    }

    private static Look fields(SharedBuffer.Form form, int stride) {
        boolean isSix = form.order() == Constants.COLORORDER_RGB565;
        int high = isSix ? 0xF800 : 0x7C00;
        int middle = isSix ? 0x07E0 : 0x03E0;
        boolean isRedLow = form.order() == Constants.COLORORDER_RGB;
        DirectColorModel model = new DirectColorModel(ColorSpace.getInstance(ColorSpace.CS_sRGB), isSix ? 16 : 15,
                isRedLow ? 0x1F : high, middle, isRedLow ? high : 0x1F, 0, false, DataBuffer.TYPE_USHORT);
        return new Look(model, new SinglePixelPackedSampleModel(DataBuffer.TYPE_USHORT, form.width(), form.height(),
                stride / 2, model.getMasks()), true);
    }

    // ------------------------------------------------------------------------------------------------------- copies

    static BufferedImage copyOf(Bitmap bitmap) {
        int depth = bitmap.bitsPerPixel();
        boolean hasAlpha = depth == 64 || depth == 32 && bitmap.order() != Constants.COLORORDER_GRAY
                || bitmap.transparency() != null;
        try (Bitmap shown = bitmap.render(null, 0, 0, hasAlpha ? Constants.RENDER_32BITS : Constants.RENDER_NEAREST)) {
            int width = shown.width();
            BufferedImage made = new BufferedImage(width, shown.height(),
                    hasAlpha ? BufferedImage.TYPE_INT_ARGB : BufferedImage.TYPE_3BYTE_BGR);
            for (int row = 0; row < shown.height(); ++row) {
                ByteBuffer from = shown.row(row);
                if (hasAlpha) {
                    int[] to = ((DataBufferInt) made.getRaster().getDataBuffer()).getData();
                    from.order(ByteOrder.LITTLE_ENDIAN).asIntBuffer().get(to, row * width, width);
                } else {
                    byte[] to = ((DataBufferByte) made.getRaster().getDataBuffer()).getData();
                    from.get(to, row * width * 3, width * 3);
                }
            }
            return made;
        }
    }

    static Bitmap toBitmap(BufferedImage image) {
        Raster raster = image.getRaster();
        if (raster.getDataBuffer() instanceof SharedBuffer data && isWhole(raster, data.form())) {
            SharedBuffer.Form form = data.form();
            return Bitmap.wrap(data.bytes(), form.width(), form.height(), form.depth(), form.order(), form.palette());
        }
        return switch (image.getType()) {
            case BufferedImage.TYPE_BYTE_GRAY -> grays(image, 8);
            case BufferedImage.TYPE_USHORT_GRAY -> grays(image, 16);
            case BufferedImage.TYPE_USHORT_565_RGB -> words(image, Constants.COLORORDER_RGB565);
            case BufferedImage.TYPE_USHORT_555_RGB -> words(image, Constants.COLORORDER_BGR);
            case BufferedImage.TYPE_BYTE_BINARY, BufferedImage.TYPE_BYTE_INDEXED -> indexed(image);
            default -> colored(image);
        };
    }

    private static boolean isWhole(Raster raster, SharedBuffer.Form form) {
        return raster.getWidth() == form.width() && raster.getHeight() == form.height()
                && raster.getSampleModelTranslateX() == 0 && raster.getSampleModelTranslateY() == 0;
    }

    /** Fills rows from samples of the first band. */
    private static Bitmap filled(BufferedImage image, Bitmap made) {
        try {
            int depth = made.bitsPerPixel();
            int width = made.width();
            int[] samples = new int[width];
            ByteBuffer row = ByteBuffer.allocate(made.bytesPerLine()).order(ByteOrder.nativeOrder());
            for (int y = 0; y < made.height(); ++y) {
                image.getRaster().getSamples(0, y, width, 1, 0, samples);
                pack(samples, depth, row.clear());
                made.putRow(y, row.array());
            }
            return made;
        } catch (Throwable failure) {
            made.close();
            throw failure;
        }
    }

    private static void pack(int[] samples, int depth, ByteBuffer row) {
        for (int x = 0; x < samples.length; ++x) {
            if (depth == 16) {
                row.putShort(2 * x, (short) samples[x]);
            } else {
                int bit = x * depth;
                int shift = 8 - depth - bit % 8;
                int others = row.get(bit / 8) & ~((1 << depth) - 1 << shift);
                row.put(bit / 8, (byte) (others | samples[x] << shift));
            }
        }
    }

    private static Bitmap grays(BufferedImage image, int depth) {
        return filled(image, Bitmap.createGray(image.getWidth(), image.getHeight(), depth));
    }

    /** 1, 2, 4 or 8 bits with a palette that has no alpha; others are colours. */
    private static Bitmap indexed(BufferedImage image) {
        IndexColorModel model = (IndexColorModel) image.getColorModel();
        int depth = model.getPixelSize();
        if (model.hasAlpha() || depth != 1 && depth != 2 && depth != 4 && depth != 8) {
            return colored(image);
        }
        Color[] colors = new Color[model.getMapSize()];
        for (int i = 0; i < colors.length; ++i) {
            colors[i] = Color.rgb(model.getRed(i), model.getGreen(i), model.getBlue(i));
        }
        return filled(image, Bitmap.create(Constants.TYPE_CONV, image.getWidth(), image.getHeight(), depth,
                Constants.COLORORDER_BGR, Palette.of(colors)));
    }

    private static Bitmap words(BufferedImage image, int order) {
        Bitmap made = Bitmap.create(Constants.TYPE_CONV, image.getWidth(), image.getHeight(), 16, order, null);
        try {
            int width = made.width();
            SinglePixelPackedSampleModel model = (SinglePixelPackedSampleModel) image.getSampleModel();
            short[] data = ((DataBufferUShort) image.getRaster().getDataBuffer()).getData();
            int start = image.getRaster().getDataBuffer().getOffset() - image.getRaster().getSampleModelTranslateX()
                    - image.getRaster().getSampleModelTranslateY() * model.getScanlineStride();
            ByteBuffer row = ByteBuffer.allocate(made.bytesPerLine()).order(ByteOrder.nativeOrder());
            for (int y = 0; y < made.height(); ++y) {
                row.asShortBuffer().put(data, start + y * model.getScanlineStride(), width);
                made.putRow(y, row.array());
            }
            return made;
        } catch (Throwable failure) {
            made.close();
            throw failure;
        }
    }

    private static Bitmap colored(BufferedImage image) {
        boolean hasAlpha = image.getColorModel().hasAlpha();
        Bitmap made = Bitmap.create(image.getWidth(), image.getHeight(), hasAlpha ? 32 : 24);
        try {
            int width = made.width();
            int[] colors = new int[width];
            ByteBuffer row = ByteBuffer.allocate(made.bytesPerLine()).order(ByteOrder.LITTLE_ENDIAN);
            for (int y = 0; y < made.height(); ++y) {
                image.getRGB(0, y, width, 1, colors, 0, width);
                for (int x = 0; x < width; ++x) {
                    if (hasAlpha) {
                        row.putInt(4 * x, colors[x]);
                    } else {
                        row.putShort(3 * x, (short) colors[x]).put(3 * x + 2, (byte) (colors[x] >> 16));
                    }
                }
                made.putRow(y, row.array());
            }
            return made;
        } catch (Throwable failure) {
            made.close();
            throw failure;
        }
    }
}
