/**
 * @file Crop.cpp
 * crop, trim and extend: a part of a picture, what is not its border, and more around it.
 */
#include "tools/Operation.h"
#include "tools/Values.h"

#include <limits>

namespace vk::tool {

namespace {

void keep(BITMAPHANDLE& record, const RECT& rect)
{
    check(V_TrimBitmap(&record, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top), "cropping");
}

const Option kCropOptions[] = {
    {"--rect", "X,Y,W,H", "the part to keep, in pixels from the top left corner"},
};

Action prepare_crop(const Arguments& arguments)
{
    const std::optional<RECT> rect = rect_option(arguments);
    if (!rect) {
        throw UsageError("crop needs --rect");
    }
    return [rect = *rect](Bitmap& bitmap) {
        const BITMAPHANDLE& record = bitmap.record();
        if (rect.left >= record.Width || rect.top >= record.Height || rect.right <= 0 || rect.bottom <= 0) {
            throw OperationError("the picture has nothing there");
        }
        keep(bitmap.record(), rect);
    };
}

/** Some rows of the ones before, those above and below them left out. */
class RowsOfPart : public RowSource {
public:
    RowsOfPart(Rows rows, int32_t top, int32_t height) : rows_(std::move(rows)), top_(top)
    {
        info_ = rows_->info();
        set_size(info_, info_.width, height);
    }
    void next(uint8_t* row) override
    {
        for (; top_ > 0; --top_) {
            rows_->next(row);
        }
        rows_->next(row);
    }

private:
    Rows rows_;
    int32_t top_; ///< rows still to leave out
};

Rows crop_rows(Rows& rows, const RECT& rect)
{
    const PictureInfo& info = rows->info();
    const int32_t left = std::max<int32_t>(rect.left, 0);
    const int32_t top = std::max<int32_t>(rect.top, 0);
    const int32_t right = std::min<int32_t>(rect.right, info.width);
    const int32_t bottom = std::min<int32_t>(rect.bottom, info.height);
    if (left >= right || top >= bottom) {
        return nullptr; // which is for the operation to tell
    }
    const bool narrower = left != 0 || right != info.width;
    Rows part = std::make_unique<RowsOfPart>(std::move(rows), top, bottom - top);
    if (!narrower) {
        return part;
    }
    return in_bands([left, right](Bitmap& band) { keep(band.record(), {left, 0, right, band.record().Height}); })(part);
}

RowStage prepare_crop_rows(const Arguments& arguments)
{
    return [rect = rect_option(arguments).value_or(RECT{})](Rows& rows) { return crop_rows(rows, rect); };
}

const Option kTrimOptions[] = {
    {"--border", "RRGGBB", "the border's colour (default: that of the pixel in the top left corner)"},
    {"--tolerance", "N", "how far each channel may be from it, 0 (default) to 255"},
};

Action prepare_trim(const Arguments& arguments)
{
    return [border = color_option(arguments, "--border"), tolerance = tolerance_option(arguments)](Bitmap& bitmap) {
        BITMAPHANDLE& record = bitmap.record();
        const COLORREF color = border ? *border : V_GetPixelColor(&record, 0, 0);
        RECT rect{};
        check(V_GetTrimRect(&record, color, tolerance, &rect), "looking for the border");
        if (rect.left == rect.right) {
            throw OperationError("the picture is all border");
        }
        keep(record, rect);
    };
}

const Option kExtendOptions[] = {
    {"--by", "L,T,R,B", "pixels to add on the left, at the top, on the right and at the bottom"},
    {"--kind", "KIND", "fill (default), edge, mirror or wrap"},
    {"--fill", "RRGGBB", "colour of what is added (default 000000)"},
};

constexpr Word<uint32_t> kKinds[] = {
    {"fill", EXTEND_FILL},
    {"edge", EXTEND_EDGE},
    {"mirror", EXTEND_MIRROR},
    {"wrap", EXTEND_WRAP},
};

/** The rows before with others above and below them: of one colour, or the first and the last one again. */
class RowsBetween : public RowSource {
public:
    RowsBetween(Rows rows, int32_t above, int32_t below, std::vector<uint8_t> filled)
        : rows_(std::move(rows)), above_(above), left_(rows_->info().height), filled_(std::move(filled))
    {
        info_ = rows_->info();
        set_size(info_, info_.width, info_.height + above + below);
    }
    void next(uint8_t* row) override
    {
        if (!filled_.empty() && (above_ > 0 || left_ == 0)) {
            above_ -= above_ > 0 ? 1 : 0;
            std::copy(filled_.begin(), filled_.end(), row);
            return;
        }
        if (row_.empty() || (above_ == 0 && left_ > 0)) {
            row_.resize(info_.row_bytes());
            rows_->next(row_.data());
            --left_;
        } else if (above_ > 0) {
            --above_;
        }
        std::copy(row_.begin(), row_.end(), row);
    }

private:
    Rows rows_;
    int32_t above_;               ///< rows still to come
    int32_t left_;                ///< of the picture
    std::vector<uint8_t> filled_; ///< empty: edges
    std::vector<uint8_t> row_;    ///< the one that came last
};

void extend(BITMAPHANDLE& record, const std::array<int32_t, 4>& sides, uint32_t kind, COLORREF fill)
{
    check(V_ExtendBitmap(&record, sides[0], sides[1], sides[2], sides[3], kind, fill), "extending");
}

/** A row of the fill colour, as the picture gets it. */
std::vector<uint8_t> filled_row(const PictureInfo& info, COLORREF fill)
{
    PictureInfo one = info;
    one.height = 1;
    Bitmap bitmap(one);
    extend(bitmap.record(), {0, 1, 0, 0}, EXTEND_FILL, fill);
    std::vector<uint8_t> row(info.row_bytes());
    Access(bitmap).get(0, row.data(), row.size());
    return row;
}

Rows extend_rows(Rows& rows, const std::array<int32_t, 4>& sides, uint32_t kind, COLORREF fill)
{
    const auto [left, top, right, bottom] = sides;
    const bool above = top > 0 || bottom > 0;
    const PictureInfo& info = rows->info();
    constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
    if ((above && kind != EXTEND_FILL && kind != EXTEND_EDGE) || int64_t{info.height} + top + bottom > kMost) {
        return nullptr;
    }
    Rows made = std::move(rows);
    if (left > 0 || right > 0) {
        const std::array<int32_t, 4> beside = {left, 0, right, 0};
        made = in_bands([=](Bitmap& band) { extend(band.record(), beside, kind, fill); })(made);
    }
    std::vector<uint8_t> filled = kind == EXTEND_FILL ? filled_row(made->info(), fill) : std::vector<uint8_t>();
    return std::make_unique<RowsBetween>(std::move(made), top, bottom, std::move(filled));
}

struct Extension {
    std::array<int32_t, 4> sides{}; ///< left, top, right, bottom
    uint32_t kind = EXTEND_FILL;
    COLORREF fill = 0;
};

Extension read_extension(const Arguments& arguments)
{
    const auto sides = integers_option<4>(arguments, "--by");
    if (!sides || *std::min_element(sides->begin(), sides->end()) < 0) {
        throw UsageError("extend needs --by with four numbers of pixels");
    }
    return {*sides, require_word(kKinds, "--kind", arguments.value("--kind").value_or("fill")), fill_option(arguments)};
}

Action prepare_extend(const Arguments& arguments)
{
    return [wanted = read_extension(arguments)](Bitmap& bitmap) {
        extend(bitmap.record(), wanted.sides, wanted.kind, wanted.fill);
    };
}

RowStage prepare_extend_rows(const Arguments& arguments)
{
    return [wanted = read_extension(arguments)](Rows& rows) {
        return extend_rows(rows, wanted.sides, wanted.kind, wanted.fill);
    };
}

} // namespace

extern const Operation kCrop;
const Operation kCrop = {"crop", "cropping",        "Keeps a part of a picture.", kCropOptions, &prepare_crop,
                         false,  &prepare_crop_rows};

extern const Operation kTrim;
const Operation kTrim = {"trim", "trimming", "Cuts off a picture's border.", kTrimOptions, &prepare_trim};

extern const Operation kExtend;
const Operation kExtend = {
    "extend", "extending",         "Adds pixels around a picture.", kExtendOptions, &prepare_extend,
    false,    &prepare_extend_rows};

} // namespace vk::tool
