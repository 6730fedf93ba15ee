/**
 * Raster images of 1 to 64 bits per pixel, as the Vkkrnx library holds and changes them.
 *
 * <p>{@link org.vkkrnx.Bitmap} is where to begin. Failures are {@link org.vkkrnx.VkException}s with the result codes of
 * the library; null where an object is needed is a {@link java.lang.NullPointerException}. An object may be used by any
 * thread, one at a time: a second one waits. What is closed answers {@link org.vkkrnx.Constants#ERROR_NULL_PTR}.
 * Closing gives memory back at once; what nobody closed goes when it is collected.
 */
package org.vkkrnx;
