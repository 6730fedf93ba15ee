/* A codec that writes and reads its files through the library, and an application that makes these files live in
 * memory: nothing here touches the disk, and the codec does not know. */
#include <Vkkrnx.h>
#include <stdio.h>

/* The codec: a size and raw pixels, through redirected files. */
static int save(BITMAPHANDLE* bitmap, const wchar_t* name)
{
    int32_t size[2];
    unsigned char row[64];
    int code = ERROR_FILE_WRITE;
    V_REDIRECTHANDLE file =
        V_RedirectedOpen(name, V_OPENFLAG_CREATE | V_OPENFLAG_TRUNCATE | V_OPENFLAG_READWRITE, V_OPENMODE_READWRITE);
    if (file == (V_REDIRECTHANDLE)-1)
        return ERROR_FILE_OPEN;
    size[0] = bitmap->Width;
    size[1] = bitmap->Height;
    if (V_RedirectedWrite(file, size, sizeof size) == (int32_t)sizeof size) {
        code = V_AccessBitmap(bitmap);
        for (int32_t y = 0; y < bitmap->Height && code > 0; y++) {
            code = (int)V_GetBitmapRow(bitmap, row, y, bitmap->BytesPerLine);
            if (code > 0 && V_RedirectedWrite(file, row, bitmap->BytesPerLine) != (int32_t)bitmap->BytesPerLine)
                code = ERROR_FILE_WRITE;
        }
        V_ReleaseBitmap(bitmap);
    }
    return V_RedirectedClose(file) < 0 || code < 0 ? ERROR_FILE_WRITE : SUCCESS;
}

static int load(BITMAPHANDLE* bitmap, const wchar_t* name)
{
    int32_t size[2];
    unsigned char row[64];
    int code = ERROR_FILE_READ;
    V_REDIRECTHANDLE file = V_RedirectedOpen(name, V_OPENFLAG_READ, V_OPENMODE_READ);
    if (file == (V_REDIRECTHANDLE)-1)
        return ERROR_FILE_OPEN;
    if (V_RedirectedRead(file, size, sizeof size) == (int32_t)sizeof size && size[0] > 0 && size[0] <= 16)
        code = V_CreateBitmap(bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, size[0], size[1], 24, COLORORDER_BGR, NULL,
                              TOP_LEFT, NULL, 0);
    if (code == SUCCESS) {
        code = V_AccessBitmap(bitmap);
        for (int32_t y = 0; y < size[1] && code > 0; y++) {
            code = ERROR_FILE_READ;
            if (V_RedirectedRead(file, row, bitmap->BytesPerLine) == (int32_t)bitmap->BytesPerLine)
                code = (int)V_PutBitmapRow(bitmap, row, y, bitmap->BytesPerLine);
        }
        V_ReleaseBitmap(bitmap);
    }
    V_RedirectedClose(file);
    return code < 0 ? code : SUCCESS;
}

/* The application. */
int main(void)
{
    BITMAPHANDLE out, in;
    void *redirection, *memory = NULL;
    size_t bytes = 0;
    int code = V_CreateBitmap(&out, BITMAPHANDLE_SIZE, TYPE_CONV, 16, 8, 24, COLORORDER_BGR, NULL, TOP_LEFT, NULL, 0);
    V_InitBitmap(&in, BITMAPHANDLE_SIZE, 1, 1, 24);
    if (code == SUCCESS)
        code = V_PutPixelColor(&out, 3, 5, 0x4080C0);

    /* Whatever the codec writes now goes into a buffer that grows. */
    if (code == SUCCESS)
        code = V_StartRedirectToBuffer(&redirection, NULL, REDIRECTBUFFER_GROW | REDIRECTBUFFER_WRITE, NULL, 0);
    if (code == SUCCESS) {
        code = save(&out, L"picture");
        V_StopRedirectToBuffer(redirection, &memory, &bytes);
    }
    /* And this is what it reads. */
    if (code == SUCCESS)
        code = V_StartRedirectToBuffer(&redirection, NULL, REDIRECTBUFFER_DATA, memory, bytes);
    if (code == SUCCESS) {
        code = load(&in, L"picture");
        V_StopRedirectToBuffer(redirection, NULL, NULL);
    }
    printf("result %d, %u bytes, the pixel is %06X\n", code, (unsigned)bytes,
           (unsigned)V_GetPixelColor(&in, 3, 5) & 0xFFFFFFu);
    if (memory) {
        HGLOBAL block = GlobalHandle(memory);
        GlobalUnlock(block);
        GlobalFree(block);
    }
    V_FreeBitmap(&in);
    V_FreeBitmap(&out);
    return code == SUCCESS ? 0 : 1;
}
