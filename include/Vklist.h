/**
 * @file Vklist.h
 * The list part of the Vkkrnx interface: ordered lists of bitmaps, such as the pages of a document or the frames of an
 * animation. Vkkrnx.h includes it.
 *
 * A list holds whole records and owns their pixels: a bitmap that goes in is no longer the caller's to free, one that
 * is taken out is. Indices count from 0. One list belongs to one thread at a time.
 */
#ifndef VKLIST_H
#define VKLIST_H

#include "Vkrecord.h"

/** Flags of V_CreateBitmapListOptPal. */
#define LISTPAL_BLACKWHITE                                                                                             \
    0x01u /**< black is the first entry and white the last, whether the bitmaps have them or not */
#define LISTPAL_SKIPTRANSPARENT                                                                                        \
    0x02u /**< pixels of a bitmap's transparent colour (BITMAPFLAG_TRANSPARENCY) do not count */

V_EXTERN_C_BEGIN

/** A list of bitmaps. */
typedef struct V_BITMAPLIST* HBITMAPLIST;

/** Makes an empty list. @param phList receives it, or null. @return SUCCESS; ERROR_INVALID_PARAMETER: null pointer;
 *  ERROR_NO_MEMORY. @remark Thread-safe. */
V_API int V_CreateBitmapList(HBITMAPLIST* phList) V_NOEXCEPT;
/** Frees a list and all its bitmaps. @return SUCCESS; ERROR_INVALID_PARAMETER: null list.
 *  @remark One thread per list at a time. */
V_API int V_DestroyBitmapList(HBITMAPLIST hList) V_NOEXCEPT;
/** Counts a list's items. @return SUCCESS; ERROR_INVALID_PARAMETER: null list or pointer.
 *  @remark One thread per list at a time. */
V_API int V_GetBitmapListCount(HBITMAPLIST hList, uint32_t* puCount) V_NOEXCEPT;

/**
 * Puts a bitmap into a list, which owns it from then on; the items from that place on move up.
 * @param hList the list. @param uIndex its place; at or beyond the count (also -1) means the end.
 * @param pBitmap the record, of either size; it is copied, and held as a current one.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null list or record; ERROR_NULL_PTR: the list is damaged;
 * ERROR_INVALID_STRUCT_SIZE: the record, or the list's first one; ERROR_NO_MEMORY. After a failure list and bitmap are
 * as they were.
 * @remark One thread per list and bitmap at a time.
 */
V_API int V_InsertBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Takes a bitmap out of a list; the caller owns it then.
 * @param hList the list. @param uIndex the item. @param pBitmap receives a whole current record, or null when the
 * caller has a copy of it already.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null or empty list, or no such item; ERROR_INVALID_STRUCT_SIZE: the list's
 * first record is not a current one.
 * @remark One thread per list and bitmap at a time.
 */
V_API int V_RemoveBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Puts a bitmap in the place of another, which the caller gets back or which is freed.
 * @param hList the list. @param uIndex the item; -1 means the last one. The place just past the last item may be given
 * too: it is empty at first, is not counted, and what is put there remains the caller's.
 * @param pNew the record that comes in; it keeps its size, and what it has no fields for is cleared.
 * @param pOld receives the record that was there, or null: a bitmap that was there is freed.
 * @param uOldSize bytes to write to pOld, cut at the size of a current record.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null or empty list, null record, or no such place;
 * ERROR_INVALID_STRUCT_SIZE: the new record, or the list's first one.
 * @remark One thread per list and bitmap at a time.
 */
V_API int V_ReplaceBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pNew, BITMAPHANDLE* pOld,
                                  uint32_t uOldSize) V_NOEXCEPT;
/** Removes items and frees their bitmaps.
 *  @param hList the list. @param uIndex first item. @param uCount items; those past the end do not count.
 *  @return SUCCESS; ERROR_INVALID_PARAMETER: null list, no such item, or a count of 0; ERROR_INVALID_STRUCT_SIZE: the
 *  list's first record is not a current one. @remark One thread per list at a time. */
V_API int V_DeleteBitmapListItems(HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) V_NOEXCEPT;
/**
 * Copies an item's record out. The pixels are shared, the list goes on owning them.
 * @param hList the list. @param uIndex the item. @param pBitmap receives the record.
 * @param uStructSize BITMAPHANDLE_SIZE or BITMAPHANDLE_SIZE_EARLIER. When an earlier record is asked for of an
 * allocated bitmap, the list's item gives up what only a current record can have (LUT16, PaintLUT16, DataCallbacks), so
 * that the shorter record describes it in full.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null list or record, or no such item; ERROR_INVALID_STRUCT_SIZE.
 * @remark One thread per list at a time.
 */
V_API int V_GetBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pBitmap,
                              uint32_t uStructSize) V_NOEXCEPT;
/**
 * Overwrites an item. What was there is forgotten, not freed: the caller has taken it out before, or shares it.
 * @param hList the list. @param uIndex the item. @param pBitmap the record, of either size, or null to clear the item.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null list or no such item; ERROR_INVALID_STRUCT_SIZE: the record's size is
 * neither, and the item is clear now.
 * @remark One thread per list at a time.
 */
V_API int V_SetBitmapListItem(HBITMAPLIST hList, uint32_t uIndex, BITMAPHANDLE* pBitmap) V_NOEXCEPT;
/**
 * Makes a new list of full copies (V_CopyBitmap) of items.
 * @param phNew receives the list, null after a failure to make it. @param hList the list. @param uIndex first item.
 * @param uCount items; those past the end do not count.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: null list or pointer, no such item, or a count of 0; otherwise as
 * V_CopyBitmap.
 * @remark One thread per list at a time.
 */
V_API int V_CopyBitmapListItems(HBITMAPLIST* phNew, HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) V_NOEXCEPT;
/**
 * Makes a new list of items taken out of another.
 * @param phNew receives the list, null after a failure to make it. @param hList the list. @param uIndex first item.
 * @param uCount items; those past the end do not count.
 * @return SUCCESS; ERROR_INVALID_PARAMETER: as V_CopyBitmapListItems; ERROR_INVALID_STRUCT_SIZE: the list's first
 * record is not a current one; ERROR_NO_MEMORY. After a failure the list is as it was.
 * @remark One thread per list at a time.
 */
V_API int V_MoveBitmapListItems(HBITMAPLIST* phNew, HBITMAPLIST hList, uint32_t uIndex, uint32_t uCount) V_NOEXCEPT;

/**
 * Makes one palette for all bitmaps of a list, as COLORRES_PALETTE_OPTIMIZED of V_ColorResBitmap does for one: exactly
 * their colours where there are no more than asked for, else those that represent the pixels of all of them best. Dark
 * entries come first. Reports progress, each bitmap having an equal part.
 * @param hList the list; its bitmaps may have any format. @param pPalette receives the entries.
 * @param puColors most entries to make, 2 to 256 (3 to 256 with
 * LISTPAL_BLACKWHITE); receives how many there are. @param uFlags LISTPAL_ flags.
 * @return SUCCESS; ERROR_NULL_PTR: null palette or count; ERROR_INVALID_PARAMETER: null or empty list, a count out of
 * range, unknown flags; of the bitmaps ERROR_INVALID_STRUCT_SIZE,
 * ERROR_INVALID_IMAGE, ERROR_INVALID_WIDTH_HEIGHT, ERROR_INVALID_LUT_LENGTH; ERROR_NO_MEMORY; a failed access or
 * transfer; the status callback's refusal. On failure neither palette nor count is written.
 * @remark One thread per list and bitmap at a time.
 */
V_API int V_CreateBitmapListOptPal(HBITMAPLIST hList, RGBQUAD* pPalette, uint32_t* puColors,
                                   uint32_t uFlags) V_NOEXCEPT;

V_EXTERN_C_END

#endif /* VKLIST_H */
