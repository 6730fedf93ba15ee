/**
 * @file PictureFile.h
 * Whole picture files into bitmaps and back.
 */
#ifndef VK_TOOLS_PICTURE_FILE_H
#define VK_TOOLS_PICTURE_FILE_H

#include "tools/Bitmap.h"
#include "tools/rows/Rows.h"

#include <functional>
#include <memory>
#include <string>

namespace vk::tool {

/** Told after each row how many are done; throws Interrupted when the work is to end. */
using RowDone = std::function<void(int32_t done, int32_t total)>;

/** For pictures that are read or written without being shown to be. */
void unseen(int32_t done, int32_t total);

/** Reads a picture into a bitmap of the default memory type, top row first. The file is closed again. */
std::unique_ptr<Bitmap> load_bitmap(const std::string& name, const RowDone& row_done, const ReadOptions& options = {});

/** The same of a file that is open already, at the page it is at. */
std::unique_ptr<Bitmap> load_page(PictureReader& reader, const RowDone& row_done);

/** Holds the rows. */
std::unique_ptr<Bitmap> gather(RowSource& rows, const RowDone& row_done);

/** Writes rows as a page. They are upright, or the writer says how they are displayed. */
void write_rows(RowSource& rows, PictureWriter& writer, const WriteOptions& options, const RowDone& row_done);

/** Writes the stored rows, brought upright first where the format cannot say how they are displayed. Depths and orders
 *  that picture files do not have are written in the nearest form that has all their values. */
void save_bitmap(Bitmap& bitmap, PictureWriter& writer, const WriteOptions& options, const RowDone& row_done);

/** The same without an end to the file, to which more pages may come. */
void save_page(Bitmap& bitmap, PictureWriter& writer, const WriteOptions& options, const RowDone& row_done);

} // namespace vk::tool

#endif
