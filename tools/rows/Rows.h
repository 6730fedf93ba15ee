/**
 * @file Rows.h
 * Pictures on their way as rows, from a file through operations to a file, so that none is held whole. What gives rows
 * is a source; an operation that can do its work on rows makes a source of the one before it. Rows are as bitmaps store
 * them, from the first stored one on, whatever way they are displayed.
 */
#ifndef VK_TOOLS_ROWS_H
#define VK_TOOLS_ROWS_H

#include "tools/Bitmap.h"

#include <functional>
#include <memory>

namespace vk::tool {

class RowSource {
public:
    virtual ~RowSource() = default;

    /** What the rows are like; also depths and orders that files do not have. */
    const PictureInfo& info() const { return info_; }
    /** Writes the next row, info().row_bytes() bytes. At most info().height times. */
    virtual void next(uint8_t* row) = 0;

protected:
    PictureInfo info_;
};

using Rows = std::unique_ptr<RowSource>;

/** Makes the rows of a result of those of a picture, which it takes over; or leaves them alone and gives none, where
 *  the picture has to be there as a whole. Reads no row yet. */
using RowStage = std::function<Rows(Rows& rows)>;

/** The rows of a page of an open file. */
Rows rows_of(PictureReader& reader);
/** The stored rows of a bitmap, which outlives them. */
Rows rows_of(Bitmap& bitmap);

/** A stage that does to a few rows at a time what is done to bitmaps. The result has as many rows, each from the row
 *  in its place alone, and its form does not depend on pixels. */
RowStage in_bands(std::function<void(Bitmap&)> action);

/** Has rows come as they are displayed, where that takes no more than to turn each; whether they then do. */
bool stand_upright(Rows& rows);

/** How rows are resized or brought to another form: the arguments of the library's streaming resize. */
struct StreamRequest {
    int32_t width = 0;
    int32_t height = 0;
    int32_t bits = 0;
    int32_t order = 0;
    std::vector<RGBQUAD> palette; ///< empty: by the library's choice
    uint32_t flags = 0;
    int32_t dithering = DITHER_NONE;
    double reach = 1; ///< source rows that count for a result row, in units of those that lie in its place
};

/** None, and the rows left alone, where too many would have to be kept. `info` tells the form of the result but for
 *  its size. */
Rows stream_rows(Rows& rows, const StreamRequest& request, const PictureInfo& info);

/** Changes the size that rows have; a frame of another size is all of its canvas. */
void set_size(PictureInfo& info, int32_t width, int32_t height);

/** What a picture's form is, as a record tells it, with everything else from the notes. */
PictureInfo form_of(const BITMAPHANDLE& record, const PictureInfo& notes);

} // namespace vk::tool

#endif
