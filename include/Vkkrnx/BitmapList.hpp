/**
 * @file BitmapList.hpp
 * Ordered lists of bitmaps. Vkkrnx.hpp includes it.
 */
#ifndef VKKRNX_BITMAP_LIST_HPP
#define VKKRNX_BITMAP_LIST_HPP

#include "Bitmap.hpp"

namespace vk {
inline namespace VKKRNX_ABI {

/// A list that owns its bitmaps. It moves and does not copy (`copy` does).
class BitmapList {
public:
    /// An empty list.
    explicit BitmapList(Report report = {}) { report(V_CreateBitmapList(&list_)); }
    /// Takes a list of the C interface over.
    explicit BitmapList(HBITMAPLIST list) noexcept : list_(list) {}
    /// Takes the other's bitmaps over; the other can only be assigned to then.
    BitmapList(BitmapList&& other) noexcept : list_(other.release()) {}
    /// Frees its bitmaps and takes the other's over.
    BitmapList& operator=(BitmapList&& other) noexcept
    {
        BitmapList taken(std::move(other));
        std::swap(list_, taken.list_);
        return *this;
    }
    ~BitmapList()
    {
        if (list_)
            V_DestroyBitmapList(list_);
    }
    /// The list's handle.
    [[nodiscard]] HBITMAPLIST get() const noexcept { return list_; }
    /// Gives the list up. @return its handle.
    [[nodiscard]] HBITMAPLIST release() noexcept { return std::exchange(list_, nullptr); }

    /// The number of bitmaps; 0 without a list.
    [[nodiscard]] std::uint32_t size() const noexcept
    {
        std::uint32_t count = 0;
        V_GetBitmapListCount(list_, &count);
        return count;
    }
    /// Whether there are none.
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    /// Puts a bitmap in at a place; the others move up. After a failure the bitmap still has its pixels.
    void insert(std::uint32_t index, Bitmap&& bitmap, Report report = {})
    {
        const int result = V_InsertBitmapListItem(list_, index, bitmap.record());
        if (result == V_SUCCESS)
            static_cast<void>(bitmap.release());
        report(result);
    }
    /// Puts a bitmap in at the end.
    void push_back(Bitmap&& bitmap, Report report = {}) { insert(UINT32_MAX, std::move(bitmap), report); }
    /// Takes a bitmap out.
    [[nodiscard]] Bitmap remove(std::uint32_t index, Report report = {})
    {
        Bitmap bitmap;
        bitmap.made(V_RemoveBitmapListItem(list_, index, bitmap.record()), report);
        return bitmap;
    }
    /// Frees bitmaps.
    void erase(std::uint32_t index, std::uint32_t count = 1, Report report = {})
    {
        report(V_DeleteBitmapListItems(list_, index, count));
    }
    /// Calls a callable with a view of an item, whose record goes back to the list afterwards, whatever happens.
    template <std::invocable<BitmapView> Use> void use(std::uint32_t index, Use&& use, Report report = {})
    {
        BITMAPHANDLE record{};
        if (!report(V_GetBitmapListItem(list_, index, &record, record_size)))
            return;
        const PutBack back{list_, index, record};
        use(BitmapView(record));
    }
    /// A list of copies of some bitmaps.
    [[nodiscard]] BitmapList copy(std::uint32_t index, std::uint32_t count, Report report = {})
    {
        HBITMAPLIST copies = nullptr;
        report(V_CopyBitmapListItems(&copies, list_, index, count));
        return BitmapList(copies);
    }
    /// A list of some bitmaps taken out of this one.
    [[nodiscard]] BitmapList take(std::uint32_t index, std::uint32_t count, Report report = {})
    {
        HBITMAPLIST taken = nullptr;
        report(V_MoveBitmapListItems(&taken, list_, index, count));
        return BitmapList(taken);
    }
    /// One palette for all, of so many colours at most (V_CreateBitmapListOptPal).
    [[nodiscard]] Palette optimized_palette(std::uint32_t colors = 256, ListPalette flags = {}, Report report = {})
    {
        Palette palette;
        palette.resize(Palette::capacity);
        const bool made = report(V_CreateBitmapListOptPal(list_, palette.data(), &colors, value_of(flags)));
        palette.resize(made ? colors : 0);
        return palette;
    }

private:
    struct PutBack {
        HBITMAPLIST list;
        std::uint32_t index;
        BITMAPHANDLE& record;
        ~PutBack() { V_SetBitmapListItem(list, index, &record); }
    };

    HBITMAPLIST list_ = nullptr;
};

} // namespace VKKRNX_ABI
} // namespace vk

#endif // VKKRNX_BITMAP_LIST_HPP
