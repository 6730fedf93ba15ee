// A C++ program against the installed package: the header's version is the library's, and a row comes back as it went.
#include <Vkkrnx.h>

#include <cstdio>
#include <cstring>

int main()
{
    wchar_t text[80];
    BITMAPHANDLE bitmap;
    unsigned char out[16] = "fifteen letters";
    unsigned char in[16] = "";
    const bool good = V_CreateBitmap(&bitmap, BITMAPHANDLE_SIZE, TYPE_CONV, 16, 1, 8, COLORORDER_RGB, nullptr, TOP_LEFT,
                                     nullptr, 0) == SUCCESS &&
                      V_AccessBitmap(&bitmap) == SUCCESS && V_PutBitmapRow(&bitmap, out, 0, sizeof out) == sizeof out &&
                      V_GetBitmapRow(&bitmap, in, 0, sizeof in) == sizeof in && V_ReleaseBitmap(&bitmap) == SUCCESS &&
                      std::memcmp(out, in, sizeof in) == 0 &&
                      V_GetFriendlyErrorMessage(V_ERROR_NO_MEMORY, text, 80) == SUCCESS;
    V_FreeBitmap(&bitmap);
    std::printf("%s\n", good ? "good" : "bad");
    return good ? 0 : 1;
}
