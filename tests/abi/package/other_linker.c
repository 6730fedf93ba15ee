/* A program without any run-time library, to be linked by a linker of another kind against the import library for such.
 * Its exit code is 0 when the library did what it was asked to. */
#include <Vkkrnx.h>

int start(void)
{
    static BITMAPHANDLE bitmap;
    HWAITEVENT event;
    int code = V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, 4, 4, 24, COLORORDER_BGR, NULL, TOP_LEFT, NULL, 0);
    if (code == V_SUCCESS)
        code = V_PutPixelColor(&bitmap, 1, 2, 0x00332211u);
    if (code == V_SUCCESS && (V_GetPixelColor(&bitmap, 1, 2) & 0xFFFFFFu) != 0x332211u)
        code = V_FAILURE;
    V_FreeBitmap(&bitmap);
    if (code == V_SUCCESS)
        code = V_CreateWaitEvent(&event, 0, 1);
    if (code == V_SUCCESS)
        code = V_WaitForEvent(event, 0);
    return code == V_SUCCESS ? 0 : 1;
}
