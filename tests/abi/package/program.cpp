#include <Vkkrnx.hpp>
#include <cstdio>

int main()
try {
    vk::Bitmap picture = vk::Bitmap::create(640, 480, 24);
    picture.edit_rows([](int32_t y, std::span<std::byte> row) {
        for (std::size_t x = 0; x < 640; x++) {
            row[3 * x] = std::byte(x * 255 / 639);     // blue grows to the right,
            row[3 * x + 1] = std::byte(y * 255 / 479); // green downwards
            row[3 * x + 2] = std::byte(128);
        }
    });
    vk::Bitmap half = picture.clone();
    int done = 0;
    {
        const vk::StatusCallback progress([&](int percent) { done = percent; });
        half.resize(320, 240, vk::SizeFlag::resample);
    }
    half.move_to(vk::Memory::disk);
    const vk::Color color = half.pixel(50, 100);
    std::printf("%d %% done, column 100 of row 50 is %02X%02X%02X\n", done, color.blue(), color.green(), color.red());
    return 0;
} catch (const vk::Error& error) {
    std::printf("error %d: %s\n", static_cast<int>(error.code()), error.what());
    return 1;
}
