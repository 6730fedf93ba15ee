// Guard pages by the system's own calls.
#include "tests/support/GuardedBuffer.h"

#include <cstdlib>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace vk::testing {
namespace {

constexpr size_t kPage = 65536; // a multiple of every system's page size

#if defined(_WIN32)

uint8_t* reserve(size_t bytes)
{
    return static_cast<uint8_t*>(VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS));
}

bool open_pages(uint8_t* at, size_t bytes)
{
    return VirtualAlloc(at, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void release(uint8_t* block, size_t)
{
    VirtualFree(block, 0, MEM_RELEASE);
}

#else

uint8_t* reserve(size_t bytes)
{
    void* block = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return block == MAP_FAILED ? nullptr : static_cast<uint8_t*>(block);
}

bool open_pages(uint8_t* at, size_t bytes)
{
    return mprotect(at, bytes, PROT_READ | PROT_WRITE) == 0;
}

void release(uint8_t* block, size_t bytes)
{
    munmap(block, bytes);
}

#endif

} // namespace

GuardedBuffer::GuardedBuffer(size_t bytes, Edge edge) : inner_((bytes + kPage - 1) / kPage * kPage + kPage)
{
    block_ = reserve(inner_ + 2 * kPage);
    if (block_ == nullptr || !open_pages(block_ + kPage, inner_))
        std::abort(); // without its memory no test can say anything
    place(bytes, edge);
}

GuardedBuffer::~GuardedBuffer()
{
    release(block_, inner_ + 2 * kPage);
}

void GuardedBuffer::place(size_t bytes, Edge edge) noexcept
{
    bytes_ = bytes;
    data_ = block_ + kPage + (edge == Edge::front ? 0 : inner_ - bytes);
}

} // namespace vk::testing
