#include <Vkkrnx.h>
#include <stdio.h>

int main(void)
{
    BITMAPHANDLE bitmap;
    unsigned char row[640 * 3];
    int code =
        V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, 640, 480, 24, COLORORDER_BGR, NULL, TOP_LEFT, NULL, 0);
    if (code == SUCCESS && (code = V_AccessBitmap(&bitmap)) == SUCCESS) {
        for (int y = 0; y < 480 && code > 0; y++) {
            for (int x = 0; x < 640; x++) {
                row[3 * x] = (unsigned char)(x * 255 / 639);     /* blue grows to the right, */
                row[3 * x + 1] = (unsigned char)(y * 255 / 479); /* green downwards */
                row[3 * x + 2] = 128;
            }
            code = (int)V_PutBitmapRow(&bitmap, row, y, sizeof row);
        }
        V_ReleaseBitmap(&bitmap);
    }
    if (code > 0)
        code = V_SetBitmapMemoryInfo(&bitmap, TYPE_DISK, 0, 0, 0, 0, 0, MEMORYINFO_MEMORY);
    printf("result %d, column 200 of row 100 is %06X\n", code,
           (unsigned)V_GetPixelColor(&bitmap, 100, 200) & 0xFFFFFFu);
    V_FreeBitmap(&bitmap);
    return code == SUCCESS ? 0 : 1;
}
