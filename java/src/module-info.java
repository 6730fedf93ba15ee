/** Raster images of 1 to 64 bits per pixel, as the Vkkrnx library holds and changes them. */
module org.vkkrnx {
    requires transitive java.desktop;

    exports org.vkkrnx;
}
