/**
 * @file Srgb.cpp
 * A picture's rows in sRGB colours, by the profile that its file has. Palettes are converted instead of their indices;
 * grays stay grays, with the tone curve of sRGB.
 */
#include "tools/Failure.h"
#include "tools/picture/Formats.h"

#include <algorithm>
#include <lcms2.h>

namespace vk::tool {

namespace {

struct ProfileCloser {
    void operator()(void* profile) const noexcept { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;

struct TransformCloser {
    void operator()(void* transform) const noexcept { cmsDeleteTransform(transform); }
};
using Transform = std::unique_ptr<void, TransformCloser>;

Profile srgb_grays()
{
    constexpr cmsFloat64Number kCurve[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    cmsToneCurve* const curve = cmsBuildParametricToneCurve(nullptr, 4, kCurve);
    Profile profile(cmsCreateGrayProfile(cmsD50_xyY(), curve));
    cmsFreeToneCurve(curve);
    return profile;
}

constexpr cmsUInt32Number kFlags = cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_COPY_ALPHA;

class SrgbReader : public PictureReader {
public:
    SrgbReader(std::unique_ptr<PictureReader> reader, const std::string& name) : name_(name), reader_(std::move(reader))
    {
        describe();
    }
    bool next_page() override
    {
        const bool more = reader_->next_page();
        if (more) {
            describe();
        }
        return more;
    }

private:
    void describe();
    Transform make(const std::vector<uint8_t>& profile, uint32_t from, uint32_t to) const;
    void convert_palette(bool gray);
    void decode_row(uint8_t* row) override;

    std::string name_;
    std::unique_ptr<PictureReader> reader_;
    Transform transform_;         ///< of rows
    std::vector<uint8_t> levels_; ///< of rows of 8-bit grays
};

Transform SrgbReader::make(const std::vector<uint8_t>& profile, uint32_t from, uint32_t to) const
{
    const Profile source(cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size())));
    const bool gray = T_COLORSPACE(to) == PT_GRAY;
    const Profile target = gray ? srgb_grays() : Profile(cmsCreate_sRGBProfile());
    const uint32_t flags = kFlags | (gray ? cmsFLAGS_NOOPTIMIZE : 0); // whose curves are too coarse for dark grays
    Transform transform(source == nullptr ? nullptr
                                          : cmsCreateTransform(source.get(), from, target.get(), to,
                                                               INTENT_RELATIVE_COLORIMETRIC, flags));
    if (transform == nullptr) {
        throw FileError(name_, "the colour profile cannot be used");
    }
    return transform;
}

void SrgbReader::describe()
{
    info_ = reader_->info();
    transform_.reset();
    levels_.clear();
    if (!reader_->ink_profile().empty()) {
        const std::shared_ptr<void> inks = make(reader_->ink_profile(), TYPE_CMYK_8, TYPE_BGR_8);
        reader_->convert_inks([inks](const uint8_t* from, uint8_t* to, size_t pixels) {
            cmsDoTransform(inks.get(), from, to, static_cast<cmsUInt32Number>(pixels));
        });
        return;
    }
    const bool gray = is_profile_of(info_.profile, true);
    const bool gray_pixels = info_.order == COLORORDER_GRAY || is_gray(info_.palette);
    if (gray ? !gray_pixels : !is_profile_of(info_.profile, false) || info_.order == COLORORDER_GRAY) {
        return; // there is none, or it is made for other pixels
    }
    if (info_.bits <= 8) {
        convert_palette(gray);
    } else {
        const uint32_t form = gray               ? TYPE_GRAY_16
                              : info_.bits == 24 ? TYPE_BGR_8
                              : info_.bits == 32 ? TYPE_BGRA_8
                              : info_.bits == 48 ? TYPE_BGR_16
                                                 : TYPE_BGRA_16;
        transform_ = make(info_.profile, form, form);
    }
    info_.profile.clear();
}

void SrgbReader::convert_palette(bool gray)
{
    const bool ramp = info_.bits == 8 && same_palette(info_.palette, gray_ramp(8));
    std::vector<RGBQUAD>& palette = info_.palette;
    const Transform transform = make(info_.profile, gray ? TYPE_GRAY_8 : TYPE_BGRA_8, gray ? TYPE_GRAY_8 : TYPE_BGRA_8);
    for (RGBQUAD& color : palette) {
        if (gray) {
            cmsDoTransform(transform.get(), &color.rgbGreen, &color.rgbGreen, 1);
            color.rgbRed = color.rgbBlue = color.rgbGreen;
        } else {
            cmsDoTransform(transform.get(), &color, &color, 1);
        }
    }
    if (ramp) { // the pixels change instead
        std::transform(palette.begin(), palette.end(), std::back_inserter(levels_),
                       [](const RGBQUAD& color) { return color.rgbGreen; });
        palette = gray_ramp(8);
    }
}

void SrgbReader::decode_row(uint8_t* row)
{
    reader_->read_row(row);
    if (transform_ != nullptr) {
        cmsDoTransform(transform_.get(), row, row, static_cast<cmsUInt32Number>(info_.width));
    } else if (!levels_.empty()) {
        std::transform(row, row + info_.width, row, [this](uint8_t level) { return levels_[level]; });
    }
}

} // namespace

std::unique_ptr<PictureReader> in_srgb(std::unique_ptr<PictureReader> reader, const std::string& name)
{
    return std::make_unique<SrgbReader>(std::move(reader), name);
}

} // namespace vk::tool
