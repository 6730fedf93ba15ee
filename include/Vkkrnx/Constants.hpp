/**
 * @file Constants.hpp
 * The constants of the C interface as enumerations, value by value. Those that combine have the operators of flags;
 * `{}` stands for none. Vkkrnx.hpp includes it.
 */
#ifndef VKKRNX_CONSTANTS_HPP
#define VKKRNX_CONSTANTS_HPP

#include "Core.hpp"

namespace vk {
inline namespace VKKRNX_ABI {

/// The order of channels.
enum class ColorOrder : std::int32_t {
    rgb = COLORORDER_RGB,      ///< red first
    bgr = COLORORDER_BGR,      ///< blue first
    gray = COLORORDER_GRAY,    ///< gray samples
    romm = COLORORDER_ROMM,    ///< wide gamut; 24 and 48 bits
    rgb565 = COLORORDER_RGB565 ///< 16 bits with six bits of green
};

/// What turns stored rows into the picture as displayed: its first row and first pixel.
enum class Perspective : std::int32_t {
    top_left = TOP_LEFT,       ///< as displayed
    top_right = 2,             ///< mirrored
    bottom_right = 3,          ///< turned by a half
    bottom_left = BOTTOM_LEFT, ///< flipped
    left_top = 5,              ///< flipped, then a quarter turn clockwise
    right_top = 6,             ///< a quarter turn clockwise
    right_bottom = 7,          ///< flipped, then a quarter turn counter-clockwise
    left_bottom = 8            ///< a quarter turn counter-clockwise
};

/// Where pixels are to be; see V_AllocateBitmap for what goes together.
enum class Memory : std::uint32_t {
    as_usual = 0u,                          ///< as the thread's default, or as the source's
    conventional = TYPE_CONV,               ///< memory
    user = TYPE_USER,                       ///< memory of the caller
    tiled = TYPE_TILED,                     ///< tiles
    not_tiled = TYPE_NOTILED,               ///< never tiles
    disk = TYPE_DISK,                       ///< a temporary file
    not_disk = TYPE_NODISK,                 ///< never a file
    compressed = TYPE_COMPRESSED,           ///< run lengths, at 1 bit
    super_compressed = TYPE_SUPERCOMPRESSED ///< packed without loss, at 1, 8 and 24 bits
};
/// They combine.
template <> inline constexpr bool is_flags<Memory> = true;

/// What is true of a bitmap.
enum class BitmapFlag : std::uint32_t {
    allocated = BITMAPFLAG_ALLOCATED,                        ///< it has storage
    conventional_memory = BITMAPFLAG_CONVENTIONALMEMORY,     ///< pixels are in one block of memory
    disk_memory = BITMAPFLAG_DISKMEMORY,                     ///< pixels are in a file
    progressive_available = BITMAPFLAG_PROGRESSIVEAVAILABLE, ///< a multi-pass rendition is available
    locked = BITMAPFLAG_LOCKED,                              ///< a global block is locked
    interlaced = BITMAPFLAG_INTERLACED,                      ///< rows arrive interlaced
    wait_user_input = BITMAPFLAG_WAITUSERINPUT,              ///< the frame waits for user input
    transparency = BITMAPFLAG_TRANSPARENCY,                  ///< it has a transparent colour
    compressed = BITMAPFLAG_COMPRESSED,                      ///< rows are run lengths
    signed_samples = BITMAPFLAG_SIGNED,                      ///< gray samples are signed
    mirror = BITMAPFLAG_MIRROR,                              ///< the pixels are the caller's
    use_lut = BITMAPFLAG_USELUT,                             ///< the look-up table applies
    global = BITMAPFLAG_GLOBAL,                              ///< pixels are in a movable global block
    use_paint_lut = BITMAPFLAG_USEPAINTLUT,                  ///< the paint tables apply
    tiled = BITMAPFLAG_TILED,                                ///< pixels are in tiles
    super_compressed = BITMAPFLAG_SUPERCOMPRESSED,           ///< pixels are packed by a codec
    no_clip = BITMAPFLAG_NOCLIP                              ///< painting does not clip
};
/// They combine.
template <> inline constexpr bool is_flags<BitmapFlag> = true;

/// How rows are stored.
enum class Compression : std::int32_t {
    none = 0,       ///< as they are
    run_length = 1, ///< run lengths, at 1 bit
    super = 2       ///< packed without loss, at 1, 8 and 24 bits
};

/// What a duplicate gets.
enum class DupFlag : std::uint32_t {
    palette = DUPFLAG_PALETTE,              ///< the palette
    overlays = DUPFLAG_OVERLAYS,            ///< overlays
    region = DUPFLAG_REGION,                ///< the region
    extra_data = DUPFLAG_EXTRADATA,         ///< extra data
    gray_tables = DUPFLAG_GRAYTABLES,       ///< gray tables
    data_callbacks = DUPFLAG_DATACALLBACKS, ///< data callbacks
    animation = DUPFLAG_ANIMATION,          ///< resolution, frame fields and transparency
    everything = DUPFLAG_COPY               ///< all of these
};
/// They combine.
template <> inline constexpr bool is_flags<DupFlag> = true;

/// Which figures Bitmap::move_to takes.
enum class MemoryInfo : std::uint32_t {
    memory = MEMORYINFO_MEMORY,                ///< the kind of storage
    tile_size = MEMORYINFO_TILESIZE,           ///< bytes per tile
    tiles = MEMORYINFO_TILES,                  ///< the number of tiles
    conventional_tiles = MEMORYINFO_CONVTILES, ///< tiles in memory
    tiles_left = MEMORYINFO_TILESLEFT,         ///< tiles in the file
    buffers = MEMORYINFO_CONVBUFFERS           ///< tiles of the file that may be mapped at once
};
/// They combine.
template <> inline constexpr bool is_flags<MemoryInfo> = true;

/// Dithering methods.
enum class Dither : std::int32_t {
    none = DITHER_NONE,                       ///< the nearest colour
    floyd_steinberg = DITHER_FLOYD_STEINBERG, ///< error diffusion
    stucki = DITHER_STUCKI,                   ///< error diffusion
    burkes = DITHER_BURKES,                   ///< error diffusion
    sierra = DITHER_SIERRA,                   ///< error diffusion
    stevenson_arce = DITHER_STEVENSON_ARCE,   ///< error diffusion
    jarvis = DITHER_JARVIS,                   ///< error diffusion
    ordered = DITHER_ORDERED,                 ///< 8 x 8 thresholds, dispersed
    clustered = DITHER_CLUSTERED              ///< 8 x 8 thresholds, in dots
};

/// How depth, order and palette are changed: one order, one palette, and no_dither or not.
enum class ColorRes : std::uint32_t {
    order_default = COLORRES_ORDER_DEFAULT,         ///< BGR; gray at 12 bits
    order_rgb = COLORRES_ORDER_RGB,                 ///< red first
    order_bgr = COLORRES_ORDER_BGR,                 ///< blue first
    order_gray = COLORRES_ORDER_GRAY,               ///< gray
    order_romm = COLORRES_ORDER_ROMM,               ///< wide gamut
    order_rgb565 = COLORRES_ORDER_RGB565,           ///< six bits of green
    palette_default = COLORRES_PALETTE_DEFAULT,     ///< the one passed, else the fixed one
    palette_fixed = COLORRES_PALETTE_FIXED,         ///< the fixed palette of the depth
    palette_gray = COLORRES_PALETTE_GRAY,           ///< the gray ramp of the depth
    palette_cube = COLORRES_PALETTE_CUBE,           ///< the 216-colour cube, at 8 bits
    palette_optimized = COLORRES_PALETTE_OPTIMIZED, ///< made for the picture
    no_dither = COLORRES_NODITHER                   ///< each pixel gets the nearest colour
};
/// They combine.
template <> inline constexpr bool is_flags<ColorRes> = true;

/// How bitmaps are resized.
enum class SizeFlag : std::uint32_t {
    normal = SIZEFLAG_NORMAL,             ///< replicate or drop pixels
    favor_black = SIZEFLAG_FAVORBLACK,    ///< thin lines stay, at 1 bit
    resample = SIZEFLAG_RESAMPLE,         ///< area averaging
    bicubic = SIZEFLAG_BICUBIC,           ///< bicubic where a side grows, else area averaging
    scale_to_gray = SIZEFLAG_SCALETOGRAY, ///< to 8-bit gray
    alternative = SIZEFLAG_ALTRESAMPLE,   ///< the alternative filter
    alpha_aware = SIZEFLAG_ALPHAAWARE     ///< keeps the colour of invisible pixels out
};
/// They combine.
template <> inline constexpr bool is_flags<SizeFlag> = true;

/// How bitmaps are turned.
enum class RotateFlag : std::uint32_t {
    grow = ROTATEFLAG_GROW,         ///< the canvas grows
    resample = ROTATEFLAG_RESAMPLE, ///< interpolated linearly
    bicubic = ROTATEFLAG_BICUBIC,   ///< interpolated by cubic convolution
    center = ROTATEFLAG_CENTER      ///< about the centre that is passed
};
/// They combine.
template <> inline constexpr bool is_flags<RotateFlag> = true;

/// A turn of the displayed picture by 90 degrees.
enum class QuarterTurn : std::int32_t {
    counter_clockwise = 0, ///< to the left
    clockwise = 1          ///< to the right
};

/// How pixels are taken in warps.
enum class WarpFlag : std::uint32_t {
    nearest = WARP_NEAREST, ///< the nearest pixel
    linear = WARP_LINEAR,   ///< mixed from four
    cubic = WARP_CUBIC,     ///< mixed from sixteen
    area = WARP_AREA,       ///< the mean of what is covered where the picture shrinks
    edge = WARP_EDGE        ///< the outermost pixels go on behind the edge
};
/// They combine.
template <> inline constexpr bool is_flags<WarpFlag> = true;

/// How bitmaps are sheared.
enum class ShearFlag : std::uint32_t {
    horizontal = SHEAR_HORIZONTAL, ///< rows move to the side
    vertical = SHEAR_VERTICAL,     ///< columns move up and down
    linear = SHEAR_LINEAR          ///< by parts of pixels
};
/// They combine.
template <> inline constexpr bool is_flags<ShearFlag> = true;

/// What is put around a bitmap.
enum class Extend : std::uint32_t {
    fill = EXTEND_FILL,     ///< a colour
    edge = EXTEND_EDGE,     ///< the pixel at the edge
    mirror = EXTEND_MIRROR, ///< the picture mirrored
    wrap = EXTEND_WRAP      ///< the picture from its other side
};

/// An operation of combining, and flags.
enum class Combine : std::uint32_t {
    copy = COMBINE_COPY,                       ///< the source, converted
    bit_and = COMBINE_AND,                     ///< s & d
    bit_or = COMBINE_OR,                       ///< s | d
    bit_xor = COMBINE_XOR,                     ///< s ^ d
    and_not_source = COMBINE_AND_NOT_SRC,      ///< ~s & d
    and_not_destination = COMBINE_AND_NOT_DST, ///< s & ~d
    or_not_source = COMBINE_OR_NOT_SRC,        ///< ~s | d
    or_not_destination = COMBINE_OR_NOT_DST,   ///< s | ~d
    nand = COMBINE_NAND,                       ///< ~(s & d)
    nor = COMBINE_NOR,                         ///< ~(s | d)
    xnor = COMBINE_XNOR,                       ///< ~(s ^ d)
    copy_not = COMBINE_COPY_NOT,               ///< ~s
    invert = COMBINE_INVERT,                   ///< ~d
    clear = COMBINE_CLEAR,                     ///< all bits clear
    set = COMBINE_SET,                         ///< all bits set
    keep = COMBINE_KEEP,                       ///< nothing changes
    add = COMBINE_ADD,                         ///< s + d
    subtract = COMBINE_SUBTRACT,               ///< d - s
    smaller = COMBINE_MIN,                     ///< the smaller of both
    larger = COMBINE_MAX,                      ///< the larger of both
    average = COMBINE_AVERAGE,                 ///< the mean
    difference = COMBINE_DIFFERENCE,           ///< |s - d|
    multiply = COMBINE_MULTIPLY,               ///< s d over the largest value
    not_source = COMBINE_NOT_SRC,              ///< flag: the source is inverted first
    not_destination = COMBINE_NOT_DST,         ///< flag: the destination is inverted first
    keyed = COMBINE_KEYED,                     ///< flag: the transparent colour is left out
    raw = COMBINE_RAW                          ///< flag: no conversion
};
/// They combine.
template <> inline constexpr bool is_flags<Combine> = true;

/// A mode of blending, and flags.
enum class Blend : std::uint32_t {
    source_over = BLEND_SRC_OVER,                        ///< the source over the destination
    clear = BLEND_CLEAR,                                 ///< nothing
    source = BLEND_SRC,                                  ///< the source alone
    destination = BLEND_DST,                             ///< the destination alone
    destination_over = BLEND_DST_OVER,                   ///< the destination over the source
    source_in = BLEND_SRC_IN,                            ///< the source where the destination is
    destination_in = BLEND_DST_IN,                       ///< the destination where the source is
    source_out = BLEND_SRC_OUT,                          ///< the source where the destination is not
    destination_out = BLEND_DST_OUT,                     ///< the destination where the source is not
    source_atop = BLEND_SRC_ATOP,                        ///< the source on the destination only
    destination_atop = BLEND_DST_ATOP,                   ///< the destination on the source only
    exclusive = BLEND_XOR,                               ///< each where the other is not
    plus = BLEND_PLUS,                                   ///< the sum of both
    multiply = BLEND_MULTIPLY,                           ///< colours multiplied
    screen = BLEND_SCREEN,                               ///< complements multiplied
    overlay = BLEND_OVERLAY,                             ///< multiply or screen, by the destination
    darken = BLEND_DARKEN,                               ///< the darker of both
    lighten = BLEND_LIGHTEN,                             ///< the lighter of both
    color_dodge = BLEND_COLOR_DODGE,                     ///< brightened by the source
    color_burn = BLEND_COLOR_BURN,                       ///< darkened by the source
    hard_light = BLEND_HARD_LIGHT,                       ///< multiply or screen, by the source
    soft_light = BLEND_SOFT_LIGHT,                       ///< darken or lighten, by the source
    difference = BLEND_DIFFERENCE,                       ///< what lies between both
    exclusion = BLEND_EXCLUSION,                         ///< the same with less contrast
    premultiplied_source = BLEND_PREMULTIPLIED_SRC,      ///< flag: the source's colours are multiplied already
    premultiplied_destination = BLEND_PREMULTIPLIED_DST, ///< flag: the destination's are, and stay so
    opaque_source = BLEND_OPAQUE_SRC,                    ///< flag: the source is opaque
    opaque_destination = BLEND_OPAQUE_DST                ///< flag: the destination's alpha is none
};
/// They combine.
template <> inline constexpr bool is_flags<Blend> = true;

/// How far a flood goes.
enum class FloodFlag : std::uint32_t {
    eight = FLOOD_EIGHT,  ///< by corners too
    border = FLOOD_BORDER ///< up to the border's colour
};
/// They combine.
template <> inline constexpr bool is_flags<FloodFlag> = true;

/// How a shape is combined with the region that a bitmap has.
enum class RegionMode : std::uint32_t {
    replace = REGION_SET,    ///< the shape alone
    intersect = REGION_AND,  ///< what is in both
    unite = REGION_OR,       ///< what is in one or both
    exclusive = REGION_XOR,  ///< what is in one of both
    subtract = REGION_ANDNOT ///< the region without the shape
};

/// What is inside a polygon whose sides cross.
enum class FillRule : std::uint32_t {
    alternate = REGION_ALTERNATE, ///< what is behind an odd number of sides
    winding = REGION_WINDING      ///< what the outline goes around
};

/// What becomes of a picture that goes into a slot or out of it.
enum class OverlayUse : std::uint32_t {
    copy = OVERLAY_COPY, ///< it stays
    move = OVERLAY_MOVE  ///< it is taken away
};

/// How a shown picture is made.
enum class Render : std::uint32_t {
    nearest = RENDER_NEAREST,  ///< pixels as they are
    area = RENDER_AREA,        ///< area averaging
    cubic = RENDER_CUBIC,      ///< cubic convolution
    with_alpha = RENDER_32BITS ///< 32 bits with alpha instead of 24
};
/// They combine.
template <> inline constexpr bool is_flags<Render> = true;

/// The function of a window.
enum class WindowFunction : std::uint32_t {
    linear = WINDOW_LINEAR,            ///< linear
    linear_exact = WINDOW_LINEAREXACT, ///< linear, exact
    sigmoid = WINDOW_SIGMOID           ///< sigmoid
};

/// How a window looks at samples.
enum class WindowFlag : std::uint32_t {
    signed_samples = WINDOWFLAG_SIGNED, ///< samples are signed
    inverted = WINDOWFLAG_INVERTED      ///< the smallest samples are white
};
/// They combine.
template <> inline constexpr bool is_flags<WindowFlag> = true;

/// The weights of colours in YUV pictures.
enum class YuvMatrix : std::uint32_t {
    bt601 = YUVMATRIX_601,  ///< standard definition, JPEG
    bt709 = YUVMATRIX_709,  ///< high definition
    bt2020 = YUVMATRIX_2020 ///< non-constant luminance
};

/// What YUV samples range over.
enum class YuvRange : std::uint32_t {
    video = YUVRANGE_VIDEO, ///< luma 16 to 235
    full = YUVRANGE_FULL    ///< all values
};

/// Where chroma samples stand.
enum class YuvSiting : std::uint32_t {
    left = YUVSITING_LEFT,    ///< with the leftmost of their pixels
    center = YUVSITING_CENTER ///< in the middle of them
};

/// Headers of device-independent bitmaps.
enum class DibHeader : std::uint32_t {
    info = DIB_INFOHEADER, ///< BITMAPINFOHEADER
    v4 = DIB_V4HEADER,     ///< BITMAPV4HEADER
    v5 = DIB_V5HEADER      ///< BITMAPV5HEADER
};

/// How rectangles of doubles become whole.
enum class Rounding : std::uint32_t {
    nearest = RECTD_NEAREST, ///< each edge to the nearest
    outer = RECTD_OUTER,     ///< the smallest around it
    inner = RECTD_INNER      ///< the largest inside it
};

/// What counts for the palette of a list.
enum class ListPalette : std::uint32_t {
    black_white = LISTPAL_BLACKWHITE,          ///< black is the first entry and white the last
    skip_transparent = LISTPAL_SKIPTRANSPARENT ///< transparent pixels do not count
};
/// They combine.
template <> inline constexpr bool is_flags<ListPalette> = true;

/// Options of a batch.
enum class BatchOption : std::uint32_t {
    lock = VKWORKITEMS_LOCK,                ///< it has a lock
    lock_cancel = VKWORKITEMS_LOCKCANCEL,   ///< cancelling goes through the lock
    store_result = VKWORKITEMS_STORERESULT, ///< items' results become the status
    never_thread = VKWORKITEMS_NEVERTHREAD  ///< items run at once
};
/// They combine.
template <> inline constexpr bool is_flags<BatchOption> = true;

/// How the pool runs something.
enum class PoolFlag : std::uint32_t {
    new_thread = VKPOOL_NEWTHREAD,    ///< on a new thread
    long_running = VKPOOL_LONGRUNNING ///< it will run for long
};
/// They combine.
template <> inline constexpr bool is_flags<PoolFlag> = true;

/// Where a module is looked for.
enum class LoadFrom : std::uint32_t {
    beside = DLLLOADER_BESIDE,       ///< beside the library
    resources = DLLLOADER_RESOURCES, ///< in the resource directory, then beside the library
    path = DLLLOADER_PATH,           ///< at an absolute path
    system = DLLLOADER_SYSTEM        ///< by the system's own search
};

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_CONSTANTS_HPP
