// The threads and modules of Vkkrnx.hpp, and its points and palettes.
#include "Vkkrnx.hpp"

#include <gtest/gtest.h>

#include <array>
#include <mutex>
#include <shared_mutex>
#include <string>

namespace {

using namespace std::chrono_literals;

constexpr vk::BatchOption kBatches[] = {
    {}, vk::BatchOption::lock | vk::BatchOption::store_result, vk::BatchOption::never_thread};

TEST(CppThreads, EventsAndLocks)
{
    vk::WaitEvent event;
    vk::WaitEvent shared = event.share();
    EXPECT_FALSE(event.wait_for(0ms));
    vk::ReaderWriterLock lock;
    int value = 0;
    vk::ThreadPool::queue([&lock, &value, shared = std::move(shared)]() mutable {
        {
            const std::unique_lock writer(lock);
            value = 7;
        }
        shared.set();
    });
    event.wait();
    const std::shared_lock reader(lock);
    EXPECT_EQ(7, value);
    EXPECT_FALSE(event.wait_for(1ms)) << "reset by its waiter";
    EXPECT_GE(vk::ThreadPool::processors(), 1u);
    vk::Code code;
    event = vk::WaitEvent(vk::WaitEvent::Reset::manual, true);
    EXPECT_TRUE(event.wait_for(0ms, code) && event.wait_for(-5ms) && vk::succeeded(code));
}

TEST(CppThreads, BatchesRunCallables)
{
    for (const vk::BatchOption options : kBatches) {
        std::atomic<int> sum{0};
        vk::WorkItems items(100, options);
        for (int i = 0; i < 100; ++i)
            items.queue([&sum, i, text = std::string(40, 'x')] { sum += i + static_cast<int>(text.size()) - 40; });
        vk::Code code;
        items.queue([] {}, code);
        EXPECT_EQ(vk::Code::invalid_parameter, code) << "one too many";
        items.wait();
        EXPECT_EQ(4950, sum);
        EXPECT_EQ(vk::Code::success, items.status());
    }
}

TEST(CppThreads, BatchesThrowWhatItemsThrow)
{
    for (const vk::BatchOption options : kBatches) {
        vk::WorkItems items(50, options);
        for (int i = 0; i < 50; ++i)
            items.queue([i] {
                if (i == 3)
                    throw std::string("third");
            });
        vk::Code code;
        items.wait(code);
        EXPECT_EQ(vk::Code::user_abort, code);
        EXPECT_TRUE(items.cancelled());
        EXPECT_THROW(items.rethrow(), std::string);

        vk::WorkItems others(2, options);
        others.queue([] { throw 5; });
        EXPECT_THROW(others.wait(), int) << "the missing item counts as skipped";
    }
}

TEST(CppThreads, BatchesThatEndEarlyWaitForWhatRuns)
{
    for (const vk::BatchOption options : kBatches) {
        std::atomic<int> begun{0};
        std::atomic<int> ended{0};
        {
            vk::WorkItems items(1000, options);
            for (int i = 0; i < 20; ++i)
                items.queue([&] {
                    ++begun;
                    ++ended;
                });
        }
        EXPECT_EQ(begun, ended);
        const vk::WorkItems unused(3, options);
    }
    vk::Code code;
    vk::WorkItems none(0, {}, {}, code);
    EXPECT_EQ(vk::Code::invalid_parameter, code);
    none.queue([] {}, code);
    EXPECT_EQ(vk::Code::invalid_parameter, code);
}

TEST(CppThreads, Modules)
{
#if defined(_WIN32)
    const vk::Library library("msvcrt.dll", vk::LoadFrom::system);
#else
    const vk::Library library(L"libm.so.6", vk::LoadFrom::system);
#endif
    vk::Library shared = library.share();
    const vk::Library moved = std::move(shared);
    EXPECT_FALSE(shared); // NOLINT(bugprone-use-after-move)
    const auto cosine = moved.function<double(double)>("cos");
    ASSERT_NE(nullptr, cosine);
    EXPECT_EQ(1.0, cosine(0));
    EXPECT_EQ(nullptr, moved.object("no such object"));
}

TEST(CppValues, ColorsRectanglesMapsAndPalettes)
{
    EXPECT_EQ(0x00030201u, vk::Color(1, 2, 3).value());
    EXPECT_EQ(0x01000007u, vk::Color::index(7).value());
    EXPECT_EQ(0x04008000u, vk::Color::gray(0x80).value());
    EXPECT_EQ(3, vk::Color(1, 2, 3).blue());

    const vk::Rect rect = vk::Rect::at(10, 20, 30, 40);
    EXPECT_EQ(vk::Rect(10, 20, 40, 60), rect);
    EXPECT_EQ(vk::Rect(30, 20, 40, 25), rect.intersected(vk::Rect(30, 0, 90, 25)));
    EXPECT_EQ(vk::Rect(0, 0, 40, 60), rect.united(vk::Rect(0, 0, 1, 1)));
    EXPECT_EQ(vk::Rect(9, 18, 41, 62), rect.inflated(1, 2));
    EXPECT_TRUE(rect.contains(10, 20) && !rect.contains(40, 20) && rect.contains(rect) && !rect.empty());
    EXPECT_EQ(vk::Rect(1, 1, 3, 3), vk::RectD(0.5, 1.4, 2.6, 3.4).rounded());

    const vk::Matrix map = vk::Matrix().translate(1, 2).scale(2, 3);
    const vk::Point there = map.transformed(vk::Point(5, 5));
    EXPECT_EQ(12, there.x);
    EXPECT_EQ(21, there.y);
    EXPECT_TRUE(map.then(map.inverted()).is_affine());
    EXPECT_EQ(6, map.determinant());
    const std::array from{vk::Point(0, 0), vk::Point(1, 0), vk::Point(1, 1), vk::Point(0, 1)};
    const std::array to{vk::Point(2, 3), vk::Point(4, 3), vk::Point(4, 6), vk::Point(2, 6)};
    EXPECT_EQ(5, vk::Matrix::from_corners(from, to).transformed(vk::Point(0, 2. / 3)).y);

    vk::Palette gray = vk::Palette::gray(4);
    EXPECT_EQ(16u, gray.size());
    EXPECT_EQ(0x33, gray[3].rgbGreen);
    EXPECT_EQ(3, gray.nearest(vk::Color(0x32, 0x33, 0x34)));
    gray.resize(1000);
    EXPECT_EQ(256u, gray.size());
    EXPECT_EQ(256u, vk::Palette::cube().size());
    EXPECT_THROW(static_cast<void>(vk::Palette::fixed(9)), vk::Error);
    EXPECT_THROW(static_cast<void>(vk::Palette::gray(0)), vk::Error);
}

} // namespace

int vk_cpp_without_exceptions();

TEST(CppThreads, WorkWithoutExceptions)
{
    EXPECT_EQ(0, vk_cpp_without_exceptions()) << "the line in cpp_without_exceptions.cpp";
}
