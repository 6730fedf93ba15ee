// Records: made, created, copied, split from their pixels, freed; and the lists that hold them.
#include "Native.h"

#include <cstdlib>
#include <cstring>

using namespace vkj;

VK_NATIVE(jlong, newRecord)(JNIEnv*, jclass)
{
    auto* const made = static_cast<BITMAPHANDLE*>(std::calloc(1, sizeof(BITMAPHANDLE)));
    if (made != nullptr)
        V_InitBitmap(made, BITMAPHANDLE_SIZE, 0, 0, 0);
    return address_of(made);
}

VK_NATIVE(void, freeRecord)(JNIEnv*, jclass, jlong bitmap)
{
    std::free(record(bitmap));
}

VK_NATIVE(jobject, view)(JNIEnv* env, jclass, jlong address, jlong bytes)
{
    return env->NewDirectByteBuffer(pointer<void>(address), bytes);
}

VK_NATIVE(jlong, address)(JNIEnv* env, jclass, jobject buffer)
{
    return address_of(env->GetDirectBufferAddress(buffer));
}

VK_NATIVE(void, freeBitmap)(JNIEnv*, jclass, jlong bitmap)
{
    V_FreeBitmap(record(bitmap));
    V_InitBitmap(record(bitmap), BITMAPHANDLE_SIZE, 0, 0, 0);
}

VK_NATIVE(jint, create)
(JNIEnv* env, jclass, jlong bitmap, jint memory, jint width, jint height, jint depth, jint order, jbyteArray palette,
 jint perspective, jlong data, jlong bytes)
{
    const PaletteArgument entries(env, palette);
    return V_CreateBitmap(record(bitmap), BITMAPHANDLE_SIZE, bits(memory), width, height, depth, order,
                          entries.entries(), perspective, pointer<void>(data), static_cast<uint64_t>(bytes));
}

VK_NATIVE(jint, copy)(JNIEnv*, jclass, jlong made, jlong source)
{
    return V_CopyBitmap(record(made), record(source), BITMAPHANDLE_SIZE);
}

VK_NATIVE(jint, copyRect)
(JNIEnv*, jclass, jlong made, jlong source, jint col, jint row, jint width, jint height)
{
    return V_CopyBitmapRect(record(made), record(source), BITMAPHANDLE_SIZE, col, row, width, height);
}

VK_NATIVE(jint, copyData)(JNIEnv*, jclass, jlong to, jlong from)
{
    return V_CopyBitmapData(record(to), record(from));
}

// Splits a bitmap in plain memory: `owner` gets the storage and stays locked, the bitmap goes on with everything else
// and borrows the pixels, which freeOwner frees. So pixels outlive the bitmap for as long as somebody looks at them.
VK_NATIVE(jint, split)(JNIEnv*, jclass, jlong bitmap, jlong owner)
{
    BITMAPHANDLE* const source = record(bitmap);
    int result = V_AccessBitmap(source);
    if (result != V_SUCCESS)
        return result;
    BITMAPHANDLE borrower;
    result = V_DupBitmapNewDim(&borrower, source, BITMAPHANDLE_SIZE, source->Width, source->Height,
                               source->BitsPerPixel, TYPE_USER, DUPFLAG_TAKEOVER | DUPFLAG_ANIMATION);
    if (result != V_SUCCESS) {
        V_ReleaseBitmap(source);
        return result;
    }
    result = V_SetBitmapDataPointer(&borrower, source->Data, borrower.Size64);
    std::memcpy(record(owner), source, sizeof *source);
    std::memcpy(source, &borrower, sizeof borrower);
    return result;
}

VK_NATIVE(void, freeOwner)(JNIEnv*, jclass, jlong owner)
{
    V_FreeDuplicateBitmap(record(owner));
    std::free(record(owner));
}

VK_NATIVE(jint, changeHeight)(JNIEnv*, jclass, jlong bitmap, jint height)
{
    return V_ChangeBitmapHeight(record(bitmap), height);
}

VK_NATIVE(jint, changeStorage)(JNIEnv*, jclass, jlong bitmap, jint memory)
{
    return V_SetBitmapMemoryInfo(record(bitmap), bits(memory), 0, 0, 0, 0, 0, MEMORYINFO_MEMORY);
}

VK_NATIVE(jint, storage)(JNIEnv* env, jclass, jlong bitmap, jintArray kind)
{
    uint32_t memory = 0;
    const int result = V_GetBitmapMemoryInfo(record(bitmap), &memory, nullptr, nullptr, nullptr, nullptr, nullptr);
    const auto number = static_cast<int32_t>(memory);
    give_ints(env, kind, &number, 1);
    return result;
}

VK_NATIVE(jlong, newList)(JNIEnv*, jclass)
{
    HBITMAPLIST made = nullptr;
    V_CreateBitmapList(&made);
    return address_of(made);
}

VK_NATIVE(void, freeList)(JNIEnv*, jclass, jlong list)
{
    V_DestroyBitmapList(pointer<V_BITMAPLIST>(list));
}

VK_NATIVE(jint, listCount)(JNIEnv*, jclass, jlong list)
{
    uint32_t count = 0;
    V_GetBitmapListCount(pointer<V_BITMAPLIST>(list), &count);
    return static_cast<jint>(count);
}

// The record that comes in is empty afterwards.
VK_NATIVE(jint, listInsert)(JNIEnv*, jclass, jlong list, jint index, jlong bitmap)
{
    const int result = V_InsertBitmapListItem(pointer<V_BITMAPLIST>(list), bits(index), record(bitmap));
    if (result == V_SUCCESS)
        V_InitBitmap(record(bitmap), BITMAPHANDLE_SIZE, 0, 0, 0);
    return result;
}

VK_NATIVE(jint, listReplace)(JNIEnv*, jclass, jlong list, jint index, jlong bitmap)
{
    const int result = V_ReplaceBitmapListItem(pointer<V_BITMAPLIST>(list), bits(index), record(bitmap), nullptr, 0);
    if (result == V_SUCCESS)
        V_InitBitmap(record(bitmap), BITMAPHANDLE_SIZE, 0, 0, 0);
    return result;
}

VK_NATIVE(jint, listRemove)(JNIEnv*, jclass, jlong list, jint index, jlong bitmap)
{
    return V_RemoveBitmapListItem(pointer<V_BITMAPLIST>(list), bits(index), record(bitmap));
}

VK_NATIVE(jint, listCopy)(JNIEnv*, jclass, jlong list, jint index, jlong made)
{
    BITMAPHANDLE shared;
    const int result = V_GetBitmapListItem(pointer<V_BITMAPLIST>(list), bits(index), &shared, BITMAPHANDLE_SIZE);
    return result == V_SUCCESS ? V_CopyBitmap(record(made), &shared, BITMAPHANDLE_SIZE) : result;
}

VK_NATIVE(jint, listDelete)(JNIEnv*, jclass, jlong list, jint index, jint count)
{
    return V_DeleteBitmapListItems(pointer<V_BITMAPLIST>(list), bits(index), bits(count));
}

VK_NATIVE(jint, listPart)
(JNIEnv* env, jclass, jlong list, jint index, jint count, jboolean isMoved, jlongArray result)
{
    HBITMAPLIST made = nullptr;
    const auto part = isMoved ? V_MoveBitmapListItems : V_CopyBitmapListItems;
    const int code = part(&made, pointer<V_BITMAPLIST>(list), bits(index), bits(count));
    if (env->ExceptionCheck()) { // of a status callback: nobody will ask for the list
        if (made != nullptr)
            V_DestroyBitmapList(made);
        return code;
    }
    give_long(env, result, static_cast<uint64_t>(address_of(made)));
    return code;
}

VK_NATIVE(jint, listPalette)
(JNIEnv* env, jclass, jlong list, jbyteArray palette, jintArray colors, jint count, jint flags)
{
    RGBQUAD entries[256] = {};
    auto number = bits(count);
    const int result = V_CreateBitmapListOptPal(pointer<V_BITMAPLIST>(list), entries, &number, bits(flags));
    if (env->ExceptionCheck() || result != V_SUCCESS)
        return result;
    give_palette(env, palette, entries, 256);
    const auto made = static_cast<int32_t>(number);
    give_ints(env, colors, &made, 1);
    return result;
}
