// Tables of file operations as numbers, and what an open file holds.
#pragma once

#include "tests/support/MemoryFiles.h"

#include <array>

namespace vk::testing {

inline const V_REDIRECTHANDLE kNoHandle = reinterpret_cast<V_REDIRECTHANDLE>(intptr_t{-1});
constexpr int kCreate = V_OPENFLAG_CREATE | V_OPENFLAG_TRUNCATE | V_OPENFLAG_READWRITE;
constexpr uint32_t kTableSize = 120;

/// A table as fourteen numbers: function, user data, function, ...
using Numbers = std::array<intptr_t, 14>;

inline REDIRECTFUNCTIONS table_of(const Numbers& numbers)
{
    REDIRECTFUNCTIONS table = {};
    table.StructSize = kTableSize;
    std::memcpy(reinterpret_cast<char*>(&table) + 8, numbers.data(), sizeof numbers);
    return table;
}

inline Numbers numbers_of(const REDIRECTFUNCTIONS& table)
{
    Numbers numbers;
    std::memcpy(numbers.data(), reinterpret_cast<const char*>(&table) + 8, sizeof numbers);
    return numbers;
}

inline Numbers read_table(uint32_t type, int global = 0)
{
    REDIRECTFUNCTIONS table;
    EXPECT_EQ(SUCCESS, V_GetRedirectFunctions(&table, kTableSize, type, global));
    EXPECT_EQ(kTableSize, table.StructSize);
    return numbers_of(table);
}

/// Sets a table and gives what was there.
inline Numbers set_table(const Numbers& numbers, int global)
{
    REDIRECTFUNCTIONS table = table_of(numbers);
    EXPECT_EQ(SUCCESS, V_SetRedirectFunctions(&table, REDIRECTTYPE_FILES, global));
    return numbers_of(table);
}

template <typename Function> intptr_t number(Function function)
{
    return reinterpret_cast<intptr_t>(function);
}

/// What a redirection to a buffer leaves, and where; the block is freed.
struct Left {
    std::string text = {};
    void* data = nullptr;
    HGLOBAL block = nullptr;
    size_t capacity = 0;
};

inline Left end_buffer(void* object)
{
    Left left;
    size_t size = 99;
    EXPECT_EQ(SUCCESS, V_StopRedirectToBuffer(object, &left.data, &size));
    EXPECT_TRUE(left.data || size == 0);
    if (!left.data)
        return left;
    left.text.assign(static_cast<char*>(left.data), size);
    left.block = GlobalHandle(left.data);
    left.capacity = GlobalSize(left.block);
    GlobalUnlock(left.block);
    EXPECT_EQ(nullptr, GlobalFree(left.block));
    return left;
}

inline std::string text_of(V_REDIRECTHANDLE file)
{
    std::string text(static_cast<size_t>(V_RedirectedSeekBig(file, 0, 2)), ' ');
    EXPECT_EQ(0, V_RedirectedSeek(file, 0, 0));
    EXPECT_EQ(static_cast<int64_t>(text.size()), V_RedirectedReadBig(file, text.data(), text.size()));
    return text;
}

} // namespace vk::testing
